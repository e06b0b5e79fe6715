#include "hktemplatelexer.h"

#include <cctype>
#include <cstring>

namespace hktpl {

namespace {
bool hkIsBlank(int c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f'; }
bool hkIsLetter(int c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }
}  // namespace

std::string HKTplLower(const std::string& s) {
  std::string out(s);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

bool HKTplIsRawTextElement(const std::string& lowerName) {
  return lowerName == "script" || lowerName == "style" || lowerName == "textarea" || lowerName == "title";
}

bool HKTplLexer::_startsWithNoCase(const char* s, std::size_t at) const {
  const std::size_t n = std::strlen(s);
  if (at + n > _text.size()) return false;
  for (std::size_t i = 0; i < n; ++i) {
    if (std::tolower(static_cast<unsigned char>(_text[at + i])) != s[i]) return false;
  }
  return true;
}

void HKTplLexer::_skipBlanks() {
  while (_pos < _text.size() && hkIsBlank(_text[_pos])) ++_pos;
}

bool HKTplLexer::Next(HKTplToken& token) {
  token = HKTplToken();
  token.begin = _pos;
  if (_pos >= _text.size()) return false;
  if (!_rawElement.empty()) {
    _readRaw(token);
  } else if (_text[_pos] != '<' || _pos + 1 >= _text.size()) {
    _readText(token);
  } else {
    const char c = _text[_pos + 1];
    if (c == '!' || c == '?') {
      _readMarkup(token);
    } else if (hkIsLetter(c)) {
      _readStartTag(token);
    } else if (c == '/' && _pos + 2 < _text.size() && hkIsLetter(_text[_pos + 2])) {
      _readEndTag(token);
    } else {
      _readText(token);
    }
  }
  token.end = _pos;
  return true;
}

void HKTplLexer::_readText(HKTplToken& token) {
  token.kind = HKTplKind::Text;
  // A "<" that opens nothing is text of its own, so that it can be escaped.
  if (_text[_pos] == '<') {
    ++_pos;
    return;
  }
  const std::size_t lt = _text.find('<', _pos);
  _pos = lt == std::string::npos ? _text.size() : lt;
}

void HKTplLexer::_readMarkup(HKTplToken& token) {
  const std::size_t start = _pos;
  auto upTo = [&](const char* end, std::size_t from) {
    const std::size_t at = _text.find(end, from);
    if (at == std::string::npos) {
      token.closed = false;
      token.body = _text.substr(from);
      _pos = _text.size();
    } else {
      token.body = _text.substr(from, at - from);
      _pos = at + std::strlen(end);
    }
  };
  if (_text.compare(start, 4, "<!--") == 0) {
    token.kind = HKTplKind::Comment;
    // "<!-->" and "<!--->" are empty comments in a browser.
    if (_text.compare(start + 4, 1, ">") == 0 || _text.compare(start + 4, 2, "->") == 0) {
      _pos = _text.find('>', start + 4) + 1;
      return;
    }
    upTo("-->", start + 4);
  } else if (_startsWithNoCase("<!doctype", start)) {
    token.kind = HKTplKind::Doctype;
    upTo(">", start + 9);
  } else if (_text.compare(start, 9, "<![CDATA[") == 0) {
    token.kind = HKTplKind::CData;
    upTo("]]>", start + 9);
  } else {
    token.kind = _text[start + 1] == '?' ? HKTplKind::ProcInst : HKTplKind::Markup;
    upTo(">", start + 2);
    // A processing instruction keeps its body without the closing "?".
    if (token.kind == HKTplKind::ProcInst) {
      if (!token.closed || token.body.empty() || token.body.back() != '?') {
        token.kind = HKTplKind::Markup;
      } else {
        token.body.pop_back();
      }
    }
  }
}

void HKTplLexer::_readStartTag(HKTplToken& token) {
  token.kind = HKTplKind::StartTag;
  std::size_t p = _pos + 1;
  while (p < _text.size() && !hkIsBlank(_text[p]) && _text[p] != '/' && _text[p] != '>') ++p;
  token.name = _text.substr(_pos + 1, p - _pos - 1);
  _pos = p;
  while (true) {
    _skipBlanks();
    if (_pos >= _text.size()) {
      token.closed = false;
      return;
    }
    if (_text[_pos] == '>') {
      ++_pos;
      break;
    }
    if (_text[_pos] == '/') {
      ++_pos;
      if (_pos < _text.size() && _text[_pos] == '>') {
        token.selfClosing = true;
        ++_pos;
        break;
      }
      continue;
    }
    _readAttribute(token);
  }
  const std::string lower = HKTplLower(token.name);
  if (!token.selfClosing && HKTplIsRawTextElement(lower)) _rawElement = lower;
}

void HKTplLexer::_readAttribute(HKTplToken& token) {
  HKTplAttribute a;
  a.begin = _pos;
  std::size_t p = _pos + 1;  // the first character may even be "="
  while (p < _text.size() && !hkIsBlank(_text[p]) && _text[p] != '/' && _text[p] != '>' && _text[p] != '=')
    ++p;
  a.name = _text.substr(_pos, p - _pos);
  _pos = p;
  _skipBlanks();
  if (_pos < _text.size() && _text[_pos] == '=') {
    a.hasValue = true;
    a.blankAroundEq = _pos > p;
    ++_pos;
    const std::size_t afterEq = _pos;
    _skipBlanks();
    if (_pos > afterEq) a.blankAroundEq = true;
    if (_pos < _text.size() && (_text[_pos] == '"' || _text[_pos] == '\'')) {
      a.quote = _text[_pos];
      const std::size_t close = _text.find(a.quote, _pos + 1);
      const std::size_t end = close == std::string::npos ? _text.size() : close;
      a.value = _text.substr(_pos + 1, end - _pos - 1);
      _pos = close == std::string::npos ? _text.size() : close + 1;
    } else {
      const std::size_t from = _pos;
      while (_pos < _text.size() && !hkIsBlank(_text[_pos]) && _text[_pos] != '>') ++_pos;
      a.value = _text.substr(from, _pos - from);
    }
  } else {
    _pos = p;  // blanks after a name without value belong to the next round
  }
  token.attributes.push_back(std::move(a));
}

void HKTplLexer::_readEndTag(HKTplToken& token) {
  token.kind = HKTplKind::EndTag;
  std::size_t p = _pos + 2;
  while (p < _text.size() && !hkIsBlank(_text[p]) && _text[p] != '/' && _text[p] != '>') ++p;
  token.name = _text.substr(_pos + 2, p - _pos - 2);
  const std::size_t gt = _text.find('>', p);
  token.closed = gt != std::string::npos;
  _pos = gt == std::string::npos ? _text.size() : gt + 1;
}

void HKTplLexer::_readRaw(HKTplToken& token) {
  token.kind = HKTplKind::RawText;
  std::size_t p = _pos;
  const std::string closer = "</" + _rawElement;
  while (true) {
    p = _text.find("</", p);
    if (p == std::string::npos) {
      p = _text.size();
      break;
    }
    const std::size_t after = p + closer.size();
    if (_startsWithNoCase(closer.c_str(), p) &&
        (after >= _text.size() || hkIsBlank(_text[after]) || _text[after] == '>' || _text[after] == '/')) {
      break;
    }
    p += 2;
  }
  token.body = _text.substr(_pos, p - _pos);
  _pos = p;
  _rawElement.clear();
}

std::vector<HKTplToken> HKTplTokenize(const std::string& text) {
  std::vector<HKTplToken> tokens;
  HKTplLexer lexer(text);
  HKTplToken t;
  while (lexer.Next(t)) tokens.push_back(t);
  return tokens;
}

}  // namespace hktpl
