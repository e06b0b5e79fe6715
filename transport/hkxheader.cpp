#include <toviktwo/transport/hkxheader.h>

#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hkstringmap.h>
#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/transport/hktransceiverserver.h>
#include <toviktwo/transport/hkurl.h>

const char* const HKServerSoftware = "harnock/1.28.1(96)";

const std::map<std::string, HKHTTPScheme> HKXHeader::_httpschemes = {
    {"NONE", HK_SCHEME_NONE}, {"GET", HK_SCHEME_GET}, {"POST", HK_SCHEME_POST}, {"ANSWER", HK_SCHEME_ANSWER}};

const std::map<uint64_t, std::string> HKXHeader::_status_codes = {{200, "OK"},
                                                                  {201, "Created"},
                                                                  {303, "Redirect"},
                                                                  {400, "Bad Request"},
                                                                  {404, "Not Found"},
                                                                  {417, "Expectation Failed"},
                                                                  {500, "Internal Error"},
                                                                  {502, "Server Error"}};

HKXHeader::HKXHeader(HKHTTPScheme scheme, bool serverSide, HKTovikProtocols_t protocol)
    : _protocol(protocol),
      _serverSide(serverSide),
      _scheme(scheme),
      _requestTime(std::chrono::system_clock::now()) {}

HKXHeader::~HKXHeader() { delete _data; }

void HKXHeader::leaveBus() {
  _exitTasks();
  std::lock_guard<std::recursive_mutex> wait(_job_mutex);
}

// ---------------------------------------------------------------- reading

int HKXHeader::parseInputData2(const std::function<bool(HKXHeader&)>& onHead) {
  HKStringBuf* data = getDataBuffer();
  while (_headPending) {
    const unsigned long avail = data->getSizeReadable();
    if (avail == 0) return 0;
    const char* p = data->getStartReadout();
    unsigned long i = 0;
    while (i < avail && _headPending) {
      const void* cr = std::memchr(p + i, '\r', avail - i);
      // Every byte up to the next CR is a line byte, except the very last
      // byte that has arrived: it stays back until the next one arrives.
      const unsigned long stop =
          cr ? static_cast<unsigned long>(static_cast<const char*>(cr) - p) : avail - 1;
      if (stop > i) {
        _headLine.append(p + i, stop - i);
        i = stop;
      }
      if (_headLine.size() > kMaxHeadLine) {
        data->consume(i);
        _headPending = false;
        _problematic = true;
        return 1;
      }
      if (!cr || i + 1 == avail) {  // the held-back byte
        data->consume(i);
        return 0;
      }
      if (p[i + 1] == '\n') {
        i += 2;
        if (!_headLine.empty()) {
          _headPending = _parse_http_head2(_headLine);
          _headLine.clear();
        } else {
          _headPending = false;
          _headLine.clear();
          data->consume(i);
          if (!onHead(*this)) return 1;
          i = 0;
          break;
        }
      } else {
        _headLine += '\r';  // a lone CR is an ordinary line byte
        ++i;
      }
    }
    data->consume(i);
  }
  const auto& connection = _fields.find("connection");
  if (connection != _fields.end() && !connection->second.empty() &&
      connection->second.front().find("close") != std::string::npos)
    _connectionClose = true;
  const auto& length = _fields.find("content-length");
  if (length == _fields.end() || length->second.empty()) return 2;
  _contentLength = to_unumber(length->second.front(), 0);
  return _parseContent2();
}

int HKXHeader::_parseContent2() {
  const unsigned long readable = _data ? _data->getSizeReadable() : 0;
  if (_contentLength < readable) return 1;
  if (_contentLength > readable) return 0;
  return 2;
}

bool HKXHeader::_parse_http_head2(const std::string& line) {
  if (_headLineCount == 0) {
    _headerType = HK_HEADER_NONE;
    std::string tokens[3];
    unsigned long i = 0;
    for (int t = 0; t < 2; ++t) {
      for (; i < line.size(); ++i) {
        const char c = line[i];
        if (tokens[t].empty() && (c == ' ' || c == '\t')) continue;
        if (c == ' ') break;
        tokens[t] += t == 0 ? static_cast<char>(std::toupper(static_cast<unsigned char>(c))) : c;
      }
      if (i < line.size()) ++i;  // the ending space
    }
    for (; i < line.size(); ++i)
      tokens[2] += static_cast<char>(std::toupper(static_cast<unsigned char>(line[i])));

    const auto scheme = _httpschemes.find(tokens[0]);
    if (scheme != _httpschemes.end()) {
      _headerType = HK_HEADER_REQUEST;
      _scheme = scheme->second;
    } else if (tokens[0].rfind("HTTP/", 0) == 0 || tokens[0].rfind("TOVIK/", 0) == 0) {
      _headerType = HK_HEADER_ANSWER;
    }
    for (const auto& t : tokens) addField(":first:", t);
    if (!tokens[1].empty()) _filterURLPath(tokens[1]);
    ++_headLineCount;
    return _headerType != HK_HEADER_NONE;
  }

  std::string name, value;
  bool inValue = false;
  for (const char c : line) {
    if (c == ' ' || c == '\t') continue;
    if (!inValue) {
      if (c == ':') {
        if (!name.empty()) inValue = true;  // a colon that comes first is dropped
        continue;
      }
      name += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    } else {
      if (c == ':' && value.empty()) continue;
      value += c;
    }
  }
  addField(name, value);
  ++_headLineCount;
  return true;
}

void HKXHeader::_filterURLPath(const std::string& path) {
  const auto q = path.find('?');
  _urlPath = path.substr(0, q);
  _query.clear();
  if (q != std::string::npos && _scheme == HK_SCHEME_GET) _query = path.substr(q + 1);
  if (_query.empty()) return;

  const HKStringMap1 parts(_query, "&", false);
  const unsigned long first = _blocks.size();
  for (const auto& part : parts.GetTheStrings()) {
    const auto eq = part.find('=');
    if (eq == std::string::npos) continue;
    _addPair(URLdecode(part.substr(0, eq)), URLdecode(part.substr(eq + 1)));
  }
  for (unsigned long i = first; i < _blocks.size(); ++i) _enterBlock(i, _dispURL);
}

HKHTTPMessageBlock& HKXHeader::_indexBlock(HKHTTPMessageBlock&& block) {
  char key[32];
  std::snprintf(key, sizeof key, "%lu", static_cast<unsigned long>(_blocks.size()));
  _blocks.push_back(std::move(block));
  _dispIndex[key] = &_blocks.back();
  return _blocks.back();
}

HKHTTPMessageBlock& HKXHeader::_addPair(const std::string& name, const std::string& value) {
  HKHTTPMessageBlock& b = _indexBlock(HKHTTPMessageBlock());
  b.attributes()["name"] = name;
  auto* content = new HKStringBuf();
  content->stringput(value);
  b.setContent(content);
  return b;
}

void HKXHeader::_enterBlock(unsigned long index, HKHTTPMessageBlockDisposition& byName) {
  HKHTTPMessageBlock& b = _blocks[index];
  const std::string name = b.name();
  if (name.empty()) return;
  _dispAll[name] = &b;
  byName[name] = &b;
}

void HKXHeader::addField(const std::string& name, const std::string& value) {
  if (name.empty() || value.empty()) return;
  _fields[name].push_back(value);
}

bool HKXHeader::isSet(const std::string& name) const {
  const auto it = _fields.find(name);
  return it != _fields.end() && !it->second.empty();
}

std::vector<std::string>& HKXHeader::getField(const std::string& name) { return _fields[name]; }

std::vector<std::string>& HKXHeader::getInitialField(const std::string& name) { return _initialFields[name]; }

std::string HKXHeader::getURLPathDir() const {
  const auto slash = _urlPath.rfind('/');
  if (slash == std::string::npos) return std::string();
  const std::string dir = _urlPath.substr(0, slash);
  const auto b = dir.find_first_not_of('/');
  if (b == std::string::npos) return std::string();
  return dir.substr(b, dir.find_last_not_of('/') - b + 1);
}

std::string HKXHeader::getURLPathFile() const {
  const auto slash = _urlPath.rfind('/');
  if (slash == std::string::npos) return std::string();
  return _urlPath.substr(slash + 1);
}

std::string HKXHeader::getUniqueURLHostDescriptor() const {
  if (_urlHostPart.empty()) return std::string();
  return getProtocolString() + "://" + (_urlUserPart.empty() ? "" : _urlUserPart + "@") + _urlHostPart + ":" +
         std::to_string(_urlPort);
}

bool HKXHeader::getFormString(const std::string& name, std::string& out) {
  const auto it = _dispAll.find(name);
  if (it == _dispAll.end()) return false;
  out = it->second->asString();
  return true;
}

// ---------------------------------------------------------------- body blocks

int HKXHeader::parseContent2() {
  const unsigned long readable = _data ? _data->getSizeReadable() : 0;
  if (_contentLength < readable) return 1;
  if (_contentLength > readable) return 0;
  const auto type = _fields.find("content-type");
  if (type != _fields.end() && !type->second.empty()) {
    const std::string& value = type->second.front();
    static const std::string multipart = "multipart/form-data;boundary=";
    if (value.rfind(multipart, 0) == 0) {
      _parseMultipart("--" + value.substr(multipart.size()));
    } else if (value.rfind("application/x-www-form-urlencoded", 0) == 0) {
      _parseUrlencoded();
    } else {
      std::cerr << "content type not defined (" << value << ")" << std::endl;
    }
  }
  for (unsigned long i = 0; i < _blocks.size(); ++i) _enterBlock(i, _dispBody);
  return 2;
}

void HKXHeader::_parseMultipart(const std::string& boundary) {
  if (_data == nullptr || boundary.size() <= 2) return;
  HKStringBuf& d = *_data;
  const char* start = d.getStartReadout();
  const unsigned long size = d.getSizeReadable();
  // Offsets from the start of the readable data; only whole matches count.
  auto locate = [&](unsigned long from) -> long {
    while (from < size) {
      const char* p = d.locateString(boundary, from, size - from);
      if (p == nullptr) return -1;
      const unsigned long at = static_cast<unsigned long>(p - start);
      if (size - at >= boundary.size() && std::memcmp(p, boundary.data(), boundary.size()) == 0)
        return static_cast<long>(at);
      from = at + 1;
    }
    return -1;
  };

  long pos = locate(0);
  while (pos >= 0) {
    const long next = locate(static_cast<unsigned long>(pos) + boundary.size());
    if (next < 0) break;  // the closing delimiter has nothing behind it
    HKHTTPMessageBlock& block = _indexBlock(HKHTTPMessageBlock());

    unsigned long cursor = static_cast<unsigned long>(pos) + boundary.size();
    const unsigned long end = static_cast<unsigned long>(next);
    unsigned long headLines = 0;
    long contentStart = -1;
    while (cursor < end) {
      const char* crlf = static_cast<const char*>(memmem(start + cursor, end - cursor, "\r\n", 2));
      if (crlf == nullptr) break;
      const unsigned long lineEnd = static_cast<unsigned long>(crlf - start);
      const std::string line(start + cursor, lineEnd - cursor);
      cursor = lineEnd + 2;
      const auto colon = line.find(':');
      if (colon != std::string::npos) {
        ++headLines;
        const std::string name = HKLowerCase(HKStripWhitespaces(line.substr(0, colon), " \t"));
        const std::string value = HKStripWhitespaces(line.substr(colon + 1), " \t");
        block.fields()[name].push_back(value);
        if (name == "content-disposition") {
          const auto semi = value.find(';');
          const std::string rest = semi == std::string::npos ? std::string() : value.substr(semi + 1);
          for (const auto& token : HKStringMap1(rest, " ", true).GetTheStrings()) {
            if (token.rfind("name=", 0) != 0) continue;
            // From the seventh character on, less the last one: the quotes
            // of name="a" go, the quote of name="a"; stays.
            block.attributes()["name"] =
                token.size() >= 7 ? token.substr(6, token.size() - 7) : std::string();
          }
        } else if (name == "content-type") {
          block.attributes()["mimetype"] = value;
        }
      } else if (headLines > 0) {
        if (line.empty()) {
          contentStart = static_cast<long>(cursor);
          break;
        }
        std::cerr << "oh oh ... problem..." << std::endl;
      }
    }
    if (contentStart >= 0 && end >= 2 && static_cast<unsigned long>(contentStart) < end - 2) {
      auto* content = new HKStringBuf();
      content->sputn(start + contentStart, static_cast<std::streamsize>(end - 2 - contentStart));
      block.setContent(content);
    }
    pos = next;
  }
}

void HKXHeader::_parseUrlencoded() {
  if (_data == nullptr) return;
  const std::string body(_data->getStartReadout(), _data->getSizeReadable());
  std::string::size_type from = 0;
  while (from <= body.size()) {
    auto amp = body.find('&', from);
    if (amp == std::string::npos) amp = body.size();
    const std::string piece = body.substr(from, amp - from);
    const auto eq = piece.find('=');
    if (eq != std::string::npos)
      _addPair(URLdecodeForm(piece.substr(0, eq)), URLdecodeForm(piece.substr(eq + 1)));
    from = amp + 1;
  }
}

// ---------------------------------------------------------------- writing

bool HKXHeader::getHeader(std::ostream& out) {
  std::lock_guard<std::mutex> g(_lock);
  const int state = static_cast<int>(getState());
  if (!(state == 6 || (state == 5 && _serverSide))) return false;
  switch (_scheme) {
    case HK_SCHEME_ANSWER: {
      std::string cgiHead;
      uint64_t length = 0;
      if (!_filename.empty()) {
        length = _bytes2Write;
      } else {
        if (_cgi) {
          bool found = false;
          if (_data != nullptr) {
            const unsigned long readable = _data->getSizeReadable();
            const char* p = _data->locateString("\r\n\r\n", 0, readable);
            if (p != nullptr) {
              const unsigned long at = static_cast<unsigned long>(p - _data->getStartReadout());
              if (readable - at >= 4 && std::memcmp(p, "\r\n\r\n", 4) == 0) {
                cgiHead.assign(_data->getStartReadout(), at + 4);
                _data->consume(at + 4);
                found = true;
              }
            }
          }
          if (!found) _cgi = false;
        }
        length = _data ? _data->getSizeReadable() : 0;
      }
      const auto reason = _status_codes.find(_statusCode.load());
      out << "HTTP/" << _httpVersion << " " << _statusCode.load() << " "
          << (reason == _status_codes.end() ? std::string() : reason->second) << "\r\n";
      out << "Server: " << HKServerSoftware << "\r\n";
      out << "Content-Length: " << length << "\r\n";
      _bytes2Write = length;
      if (_statusCode.load() == 303) out << "Location: " << _location << "\r\n";
      if (_cgi)
        out << cgiHead;
      else
        out << "\r\n";
      break;
    }
    case HK_SCHEME_GET:
    case HK_SCHEME_POST:
      out << (_scheme == HK_SCHEME_GET ? "GET " : "POST ") << _urlPath << _query << " HTTP/" << _httpVersion
          << "\r\n";
      out << "Host: " << _urlHostPart << "\r\n";
      out << "User-Agent: " << HKServerSoftware << "\r\n";
      if (_scheme == HK_SCHEME_POST) {
        out << "Content-Length: " << _bytes2Write << "\r\n";
        if (_bytes2Write != 0) out << "Content-Type: multipart/form-data; boundary=" << _boundary << "\r\n";
      }
      out << "\r\n";
      break;
    default:
      // A header without a method has no head to write: it must never get
      // here, and the process ends.
      std::cerr << "HKXHeader::getHeader(): header without method" << std::endl;
      std::terminate();
  }
  _headWritten = true;
  return true;
}

bool HKXHeader::readyToWrite() {
  std::lock_guard<std::mutex> g(_lock);
  const int state = static_cast<int>(getState());
  if ((state != 5 && state != 6) || _headWritten) return false;
  return getOk();
}

bool HKXHeader::readyToRead() { return !_headPending; }

void HKXHeader::setStatusCode(uint64_t code) {
  if (_status_codes.count(code)) _statusCode = code;
}

std::shared_ptr<HKXResponseHeader> HKXHeader::createResponseHeader() {
  auto r = std::make_shared<HKXResponseHeader>(HK_SCHEME_ANSWER, false, _protocol);
  r->_headerType = HK_HEADER_ANSWER;
  r->_requestTime = _requestTime;
  r->_urlPath = _urlPath;
  const auto first = _fields.find(":first:");
  if (first != _fields.end() && first->second.size() >= 2)
    r->_firstLine = first->second[0] + " " + first->second[1];
  else
    r->_firstLine = "-";
  r->_initialFields = _fields;
  r->_answerPath.assign(_answerPath.rbegin(), _answerPath.rend());
  return r;
}

std::string HKXHeader::answerPath(unsigned long i) const {
  return i < _answerPath.size() ? _answerPath[i] : std::string();
}

void HKXHeader::setFilename(const std::string& name, uint64_t size) {
  _filename = name;
  _bytes2Write = size;
}

HKStringBuf* HKXHeader::getDataBuffer() {
  if (_data == nullptr) _data = new HKStringBuf();
  return _data;
}

HKStringBuf* HKXHeader::moveDataBuffer() {
  HKStringBuf* d = _data;
  _data = nullptr;
  return d;
}

double HKXHeader::timeUsed() const {
  return std::chrono::duration<double, std::micro>(std::chrono::system_clock::now() - _requestTime).count();
}

void HKXHeader::fillInfoMap(std::map<std::string, std::string>& map) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%f", timeUsed());
  map["time_used"] = buf;
  std::snprintf(buf, sizeof buf, "%lu", static_cast<unsigned long>(_statusCode.load()));
  map["status_code"] = buf;
}

// ---------------------------------------------------------------- answers

HKXResponseHeader::HKXResponseHeader(HKHTTPScheme scheme, bool serverSide, HKTovikProtocols_t protocol)
    : HKXHeader(scheme, serverSide, protocol) {}

void HKXResponseHeader::setHTTPResponse200(const std::string& text) {
  getDataBuffer()->stringput(text);
  setStatusCode(200);
  setJobState(6);
}

void HKXResponseHeader::Redirect(const std::string& url, int /*unused*/) {
  _location = url;
  setJobState(6);
  setStatusCode(303);
}

void HKXResponseHeader::resetKontext(const std::string& name, HKHTMLKontextN* kontext) {
  _resetName = name;
  _resetKontext = kontext;
}

// ---------------------------------------------------------------- requests

HKXRequestHeader::HKXRequestHeader(HKHTTPScheme scheme, bool serverSide, HKTovikProtocols_t protocol)
    : HKXHeader(scheme, serverSide, protocol) {}

bool HKXRequestHeader::readyToRead() { return static_cast<int>(getState()) == 6; }

void HKXRequestHeader::setFullURL(const std::string& url) {
  if (_scheme != HK_SCHEME_GET) return;
  _headerType = HK_HEADER_REQUEST;
  const auto q = url.find('?');
  if (q == std::string::npos) return;
  _query = url.substr(q + 1);
  const unsigned long first = _blocks.size();
  for (const auto& part : HKStringMap1(_query, "&", true).GetTheStrings()) {
    try {
      _indexBlock(HKHTTPMessageBlock(part));
    } catch (const HKException&) {
      // a part that makes no block ("a=b=c") is left out
    }
  }
  for (unsigned long i = first; i < _blocks.size(); ++i) _enterBlock(i, _dispURL);
  _query = "?" + _query;
}

void HKXRequestHeader::setAddress(const std::string& url, const std::string& base) {
  std::lock_guard<std::mutex> g(_lock);
  if (url.empty()) {
    _urlPath = "/";
    _urlHostPart = "localhost";
    setJobState(6);
    return;
  }
  HKURL u;
  try {
    u = HKURL(url, static_cast<HKTovikProtocols_t>(2));
  } catch (const HKException&) {
    u = HKURL(urlpathconnect(base, url), static_cast<HKTovikProtocols_t>(2));
  }
  _urlPath = u.getPath();
  _urlHostPart = u.getHost();
  _urlUserPart = u.getUser();
  _protocol = u.getProtocolNumber();
  _urlPort = std::strtol(u.getPort().c_str(), nullptr, 10);
  _headerType = HK_HEADER_REQUEST;
  setJobState(6);
}

// ---------------------------------------------------------------- servers

HKXServerHeader::HKXServerHeader(bool toBeDeleted, HKTovikProtocols_t protocol)
    : HKXHeader(HK_SCHEME_POST, false, protocol), _toBeDeleted(toBeDeleted) {}

HKXServerHeader::~HKXServerHeader() {
  if (_server) _server->stop();
}

std::string HKXServerHeader::getOption(const std::string& key, const std::string& fallback) {
  std::lock_guard<std::mutex> g(_lock);
  const auto it = _options.find(key);
  return it == _options.end() ? fallback : it->second;
}

void HKXServerHeader::setOption(const std::string& key, const std::string& value) {
  std::lock_guard<std::mutex> g(_lock);
  _options[key] = value;
}

std::map<std::string, std::string> HKXServerHeader::getOptions() {
  std::lock_guard<std::mutex> g(_lock);
  return _options;
}

bool HKXServerHeader::incomingConnection(std::map<std::string, std::string>& map) {
  const auto it = map.find("type");
  const std::string type = it == map.end() ? "none" : it->second;
  return type == "HTTP" || type == "HTTPS" || type == "DirectSocket" || type == "TOVIK";
}

void HKXServerHeader::stop() {
  if (_server) _server->stop();
}

void HKXServerHeader::setTransceiverServer(std::shared_ptr<HKTransceiverServerL0> server) {
  _server = std::move(server);
}
