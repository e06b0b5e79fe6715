// One named page or resource held in memory, and the MIME type table.
//
// HKStringStorage keeps a text entry (HTML, script, style sheet) as a string
// or a binary entry (PNG, JPEG, icon) in an owned HKInputStreamBinary,
// together with its name and MIME type. Applications hand maps of name to
// HKStringStorage to the application storage as built-in pages, which the
// server then answers directly. CPPstore writes an entry as a C++ map
// initialiser with the content in base64, so that pages can be compiled into
// a program and decoded at start by the four-argument constructor.
//
// HKMIMETypeEncoder is the two-way table between HKMIMEtype and the texts of
// HTTP heads. Its look-ups are map subscripts and so write to the maps: an
// unknown text or value becomes an entry. Each caller builds its own encoder;
// one encoder is not for sharing between threads.
//
// Failure: only the one HKException of the four-argument constructor; a file
// that cannot be read leaves an empty entry without a report.
#pragma once

#include <cstdint>
#include <map>
#include <sstream>
#include <string>

#include <toviktwo/foundation/hkbuffers.h>

enum HKMIMEtype {
  HK_MIME_TYPE_NONE = 0,
  HK_MIME_TYPE_TEXT_HTML = 1,
  HK_MIME_TYPE_TEXT_JAVASCRIPT = 2,
  HK_MIME_TYPE_TEXT_CSS = 3,
  HK_MIME_TYPE_IMAGE_PNG = 4,
  HK_MIME_TYPE_IMAGE_JPEG = 5,
  HK_MIME_TYPE_IMAGE_X_ICON = 6
};

// True for the types whose content is kept as bytes (4 to 6).
bool HKMIMEtypeIsBinary(HKMIMEtype type);

class HKMIMETypeEncoder {
 public:
  // Fills the three maps with the seven known types.
  HKMIMETypeEncoder();

  // The constant for a head text; an unknown text yields HK_MIME_TYPE_NONE
  // and stays in the map as a new entry.
  HKMIMEtype GetEnum(const std::string& text);
  // The head text of a type ("text/css"); an unknown value gives "" and adds an entry.
  std::string GetMIMEText(HKMIMEtype type);
  // The constant's name ("HK_MIME_TYPE_TEXT_CSS"), meant for logs; unknown gives "".
  std::string GetMIMEEnum(HKMIMEtype type);

  // Number of entries in the text-to-type map (grows with unknown look-ups).
  size_t TextEntries() const { return _byText.size(); }

 private:
  std::map<std::string, HKMIMEtype> _byText;
  std::map<HKMIMEtype, std::string> _byType;
  std::map<HKMIMEtype, std::string> _enumNames;
};

class HKStringStorage {
 public:
  // The base64 alphabet with the padding sign "=" at index 64.
  static const std::string base64;

  // ---- construction
  // Empty: no name, no content, length 0, type HK_MIME_TYPE_NONE.
  HKStringStorage();
  // Reads a binary resource (type 4 to 6) from a file; any other type, or a
  // file that cannot be opened, leaves the object empty (name and type unset).
  HKStringStorage(std::string name, std::string path, HKMIMEtype type);
  // From a string, plain or base64. A text type read from base64 ends at its
  // first zero byte; a binary type given as plain text throws
  // "can't read that type from direct string".
  HKStringStorage(std::string name, HKMIMEtype type, std::string content, bool isBase64);
  // Copies text, name, length and type; a stream is copied into a stream of its own.
  HKStringStorage(const HKStringStorage& other);
  HKStringStorage& operator=(const HKStringStorage& other);
  ~HKStringStorage();

  // ---- content
  // The bytes of the stream when there is one, otherwise the text.
  std::string str() const;
  // The binary stream; a text entry gets a new empty stream, which from then
  // on decides what str() returns.
  HKInputStreamBinary* bin();
  HKMIMEtype MIMEType() const { return _type; }
  unsigned long length() const { return _length; }
  unsigned long size() const { return _length; }
  const std::string& name() const { return _name; }

  // ---- source text
  // Writes {"name", HKStringStorage("name", HK_MIME_TYPE_..., R"tovik(base64)tovik", true)}.
  void CPPstore(std::ostringstream& out);
  // Base64 of size bytes in lines of 76 characters; a zero size writes nothing.
  static void _base64(char const* data, unsigned long size, std::ostringstream& out);
  // Decodes base64, skipping characters outside the alphabet; an incomplete
  // last group is dropped.
  static void _ibase64(std::string const& text, HKInputStreamBinary& out);

 private:
  std::string _text;
  HKInputStreamBinary* _binary = nullptr;
  std::string _name;
  uint64_t _length = 0;
  HKMIMEtype _type = HK_MIME_TYPE_NONE;
};
