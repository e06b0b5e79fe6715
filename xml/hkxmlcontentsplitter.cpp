#include <toviktwo/xml/hkxmlcontentsplitter.h>

#include <bitset>
#include <functional>
#include <memory>
#include <typeinfo>
#include <vector>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/xml/hkdtdelementreader.h>
#include <toviktwo/xml/hkxmlelement.h>

namespace {
// Whether the reader is of one of this library's reader classes exactly,
// whose _mayStartWith depends on the character only.
bool hkFirstCharactersKnown(const HKDTDElementRead& r) {
  const std::type_info& t = typeid(r);
  return t == typeid(HKDTDElementRead_WhitespaceText) || t == typeid(HKDTDElementRead_Text) ||
         t == typeid(HKDTDElementRead_Doctype) || t == typeid(HKDTDElementRead_ProcInst) ||
         t == typeid(HKDTDElementRead_Comment) || t == typeid(HKDTDElementRead_Element) ||
         t == typeid(HKDTDElementRead_WhitespaceCSS) || t == typeid(HKDTDElementRead_WhitespaceCSSHTMLComment) ||
         t == typeid(HKDTDElementRead_WhitespaceCSSHTMLCommentCloser) || t == typeid(HKDTDElementRead_CloserCSS) ||
         t == typeid(HKDTDElementRead_CommentCSS) || t == typeid(HKDTDElementRead_MediaQueryCSS) ||
         t == typeid(HKDTDElementRead_RuleCSS) || t == typeid(HKDTDElementRead_PropertyCSS);
}

// Messages that reach the caller carry the reader's position. The position
// is appended once: a message that has it already passes unchanged.
std::string hkWithPosition(const std::string& message, HKDTDElementReader& reader) {
  if (message.find("around line") != std::string::npos) return message;
  return message + " around line " + std::to_string(static_cast<unsigned long>(reader.line()));
}
}  // namespace

HKXMLContentSplitter::HKXMLContentSplitter()
    : _top(new HKXMLGenericElement("HKXMLContentSplitter::TOP", true)), _current(_top) {}

HKXMLContentSplitter::~HKXMLContentSplitter() { delete _top; }

HKXMLGenericElement* HKXMLContentSplitter::releaseTopElement() {
  HKXMLGenericElement* top = _top;
  _top = nullptr;
  _current = nullptr;
  _depth = 0;
  return top;
}

HKXMLComplexElement* HKXMLContentSplitter::read(HKDTDElementReader& reader, const std::string& dtd, bool single) {
  if (_current == nullptr) throw HKException("missing topelement", __LINE__, "src");
  if (_currentDTD.empty()) {
    _currentDTD = dtd;
    if (_top != nullptr) _currentDTD = _top->dtdRequest(dtd);
    if (_currentDTD.empty()) throw HKException("DTD can't be empty", __LINE__, "src");
  }
  try {
    if (!reader.good()) throw HKException("error in stream", __LINE__, "src");
    bool processed = false;
    // The grammar is looked up again whenever its name changed (the map's
    // entries stay in place while reading); only this loop changes the name.
    HKDTD* cachedGrammar = nullptr;
    bool nameChanged = true;
    // The readers of the grammar in priority order, kept while the grammar
    // is unchanged. For the reader classes of this library whether a token
    // may begin with a character depends on nothing else: their answer for
    // a character (as delivered: -128 to 255) is asked once and kept.
    // An entry also keeps what the grammar says about its reader's tokens
    // (as the token information below does).
    struct ReaderEntry {
      HKDTD::ReaderMap::iterator it;
      bool known;
      std::bitset<384> asked;
      std::bitset<384> mayStart;
      bool infoKnown = false;
      const HKDTDObjectFactory* factory = nullptr;
      bool container = false;
    };
    // Kept for the last few grammars (reading switches between them).
    struct ReaderTable {
      const HKDTD* grammar = nullptr;
      unsigned long generation = 0;
      std::vector<ReaderEntry> entries;
    };
    ReaderTable readerTables[4];
    std::size_t readerTableNext = 0;
    ReaderTable* lastTable = nullptr;
    // What the grammar says about the tokens of a reader, kept while the
    // grammar is unchanged.
    struct TokenInfo {
      const HKDTDElementRead* reader;
      const HKDTD* grammar;
      unsigned long generation;
      const HKDTDObjectFactory* factory;
      bool container;
    };
    TokenInfo infos[16];
    std::size_t infoCount = 0;
    std::size_t infoNext = 0;
    auto tokenInfo = [&](const HKDTDElementRead* r, const HKDTD& g, const std::string& type) -> const TokenInfo& {
      for (std::size_t i = 0; i < infoCount; ++i) {
        const TokenInfo& t = infos[i];
        if (t.reader == r && t.grammar == &g && t.generation == g.Generation()) return t;
      }
      const HKDTD::_Tables& tables = *g._tables;
      auto f = tables.objectFactory.find(type);
      TokenInfo& t = infos[infoNext];
      t = TokenInfo{r, &g, g.Generation(), f == tables.objectFactory.end() ? nullptr : &f->second,
                    tables.subelementContainer.count(type) != 0};
      infoNext = (infoNext + 1) % 16;
      if (infoCount < 16) ++infoCount;
      return t;
    };
    while (!reader.eof() && !(single && processed)) {
      if (cachedGrammar == nullptr || nameChanged) {
        auto grammarIt = reader.DTDs().find(_currentDTD);
        if (grammarIt == reader.DTDs().end()) throw HKException("DTD '" + _currentDTD + "' not defined", __LINE__, "src");
        cachedGrammar = &grammarIt->second;
        nameChanged = false;
      }
      HKDTD& grammar = *cachedGrammar;
      ReaderTable* table = nullptr;
      if (lastTable != nullptr && lastTable->grammar == &grammar && lastTable->generation == grammar.Generation()) {
        table = lastTable;
      } else {
        for (ReaderTable& t : readerTables) {
          if (t.grammar == &grammar && t.generation == grammar.Generation()) table = &t;
        }
      }
      if (table == nullptr) {
        table = &readerTables[readerTableNext];
        readerTableNext = (readerTableNext + 1) % 4;
        table->entries.clear();
        for (auto it = grammar._readers.begin(); it != grammar._readers.end(); ++it) {
          ReaderEntry& e = table->entries.emplace_back();
          e.it = it;
          e.known = it->second != nullptr && hkFirstCharactersKnown(*it->second);
        }
        table->grammar = &grammar;
        table->generation = grammar.Generation();
      }
      lastTable = table;
      std::vector<ReaderEntry>& entries = table->entries;

      const std::set<std::string>* disallowed = nullptr;
      const HKDTD::_Tables& tables = *grammar._tables;
      if (!tables.disallowed.empty()) {
        auto it = tables.disallowed.find(_current->GetTypeName());
        if (it != tables.disallowed.end()) disallowed = &it->second;
      }

      // The first reader in priority order that recognises a token wins.
      HKDTDElementRead* token = nullptr;
      HKDTD::ReaderMap::iterator tokenIt;
      ReaderEntry* tokenEntry = nullptr;
      // The next character, looked at again after anything that may have
      // moved the source.
      bool peeked = false;
      int next = 0;
      for (ReaderEntry& e : entries) {
        const auto it = e.it;
        if (it->second == nullptr) continue;
        if (disallowed != nullptr && disallowed->count(it->first) != 0) continue;
        if (!peeked) {
          next = reader.peek();
          peeked = true;
        }
        // A reader that cannot start here would fail without taking anything.
        if (e.known && next >= -128 && next < 256) {
          const std::size_t index = static_cast<std::size_t>(next + 128);
          if (!e.asked[index]) {
            e.mayStart[index] = it->second->_mayStartWith(next);
            e.asked[index] = true;
          }
          if (!e.mayStart[index]) continue;
        } else {
          // Other reader classes are asked every time; the next reader
          // then looks at the source afresh.
          peeked = false;
          if (!it->second->_mayStartWith(next)) continue;
        }
        token = it->second->Read(reader);
        if (token != nullptr) {
          tokenIt = it;
          tokenEntry = &e;
          break;
        }
        peeked = false;
      }
      if (token == nullptr) {
        if (reader.eof()) break;
        throw HKException("reading error ", __LINE__, "src");
      }

      // The token stays alive until it is renewed below.
      const std::string& tokenType = token->GetTypeName();
      const std::string& content = token->GetContent();
      try {
        if (token->isClosingTag() ||
            (!grammar._tables->noClosingTag.empty() &&
             grammar._tables->noClosingTag.count(_current->GetTypeName()) != 0)) {
          // Close the current element.
          _current->finishRead();
          HKXMLComplexElement* parent = _current->getParent();
          if (parent != nullptr && token->checkInitialTag(_current->GetTypeName())) {
            const std::string outer = _current->dtdRequest("");
            _current = parent;
            if (_depth > 0) --_depth;
            if (outer != _currentDTD) {
              _currentDTD = outer;
              nameChanged = true;
            }
          } else {
            throw HKException("wrong closing tag '" + content + "' instead '/" + _current->GetTypeName() +
                                  "' around line " + std::to_string(static_cast<unsigned long>(reader.line())),
                              __LINE__, "src");
          }
        } else {
          // Create an element for the token.
          const HKDTDObjectFactory* factory;
          bool container;
          if (token == tokenEntry->it->second) {
            if (!tokenEntry->infoKnown) {
              const TokenInfo& info = tokenInfo(token, grammar, tokenType);
              tokenEntry->factory = info.factory;
              tokenEntry->container = info.container;
              tokenEntry->infoKnown = true;
            }
            factory = tokenEntry->factory;
            container = tokenEntry->container;
          } else {
            // A reader that answered with another object.
            const TokenInfo& info = tokenInfo(token, grammar, tokenType);
            factory = info.factory;
            container = info.container;
          }
          if (factory == nullptr) throw std::bad_function_call();
          HKXMLComplexElement* created = (*factory)(content, grammar);
          if (created == nullptr || _current == nullptr) {
            delete created;
            throw HKException("problem in DTD with '" + tokenType + "'", __LINE__, "src");
          }
          {
            std::unique_ptr<HKXMLComplexElement> holder(created);
            // Attributes reach the element before it is linked, so that the
            // parent's _newChild can inspect them.
            if (token->hasAttributes()) {
              if (auto* generic = dynamic_cast<HKXMLGenericElement*>(created)) {
                for (const HKElementAttribute& attribute : reader.Attributes()) {
                  generic->ReplaceAttributeContent(attribute.name,
                                                   attribute.withoutValue ? std::string("true") : attribute.value);
                }
              }
            }
            holder.release();
          }
          // From here the tree owns the element (a refused element is destroyed
          // by PushBackChildElement).
          *_current << created;
          if (token->hasNoClosingTag() || !container) {
            created->finishRead();
          } else {
            if (_depth >= MaxDepth) {
              throw HKException("elements nested deeper than " + std::to_string(MaxDepth) + " levels", __LINE__, "src");
            }
            const std::string inner = created->dtdRequest(_currentDTD);
            _current = created;
            ++_depth;
            if (inner != _currentDTD) {
              _currentDTD = inner;
              nameChanged = true;
            }
          }
        }
      } catch (const HKException& e) {
        throw HKException(hkWithPosition(e.what(), reader), __LINE__, "src");
      } catch (...) {
        throw HKException("element type '" + tokenType + "' not defined in DTD around line " +
                              std::to_string(static_cast<unsigned long>(reader.line())),
                          __LINE__, "src");
      }

      // No token reader carries content over to the next token: the used one
      // is replaced by a duplicate (the library's own readers are renewed in
      // place, which comes to the same).
      if (!token->_reset()) {
        HKDTDElementRead* fresh = token->Duplicate();
        tokenIt->second = fresh;
        delete token;
        ++grammar._generation;  // the reader map changed
      }
      processed = true;
    }
  } catch (const HKException& e) {
    throw HKException(hkWithPosition(e.what(), reader), __LINE__, "src");
  } catch (...) {
    throw HKException("catched an error while processing input", __LINE__, "src");
  }
  return _top;
}
