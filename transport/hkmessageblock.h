// Named pieces of a request: query pairs, urlencoded pairs, multipart parts.
#pragma once

#include <map>
#include <string>
#include <vector>

#include <toviktwo/foundation/hkbuffers.h>

// One named block. Blocks move, they are not copied.
class HKHTTPMessageBlock {
 public:
  HKHTTPMessageBlock();
  // From one pair "name=value" (or "name"); raises HKException "can't create
  // message block from empty question" for an empty text or more than one "=".
  explicit HKHTTPMessageBlock(const std::string& question);
  HKHTTPMessageBlock(HKHTTPMessageBlock&& other) noexcept;
  HKHTTPMessageBlock& operator=(HKHTTPMessageBlock&& other) noexcept;
  HKHTTPMessageBlock(const HKHTTPMessageBlock&) = delete;
  HKHTTPMessageBlock& operator=(const HKHTTPMessageBlock&) = delete;
  ~HKHTTPMessageBlock();

  // All that was written into the content, or "" without content.
  std::string asString() const;
  void dump() {}

  // The content buffer, null while the block has no value.
  HKStringBuf* content() const { return _content; }
  // Replaces the content; the block owns the new buffer.
  void setContent(HKStringBuf* content);
  // Head lines of a multipart part, by lower-case name.
  std::map<std::string, std::vector<std::string>>& fields() { return _fields; }
  // "name" and "mimetype" among others.
  std::map<std::string, std::string>& attributes() { return _attributes; }
  const std::map<std::string, std::string>& attributes() const { return _attributes; }
  std::string name() const;

 private:
  HKStringBuf* _content = nullptr;
  std::map<std::string, std::vector<std::string>> _fields;
  std::map<std::string, std::string> _attributes;
};

// A map from a key to blocks; it owns nothing.
class HKHTTPMessageBlockDisposition : public std::map<std::string, HKHTTPMessageBlock*> {
 public:
  virtual ~HKHTTPMessageBlockDisposition() = default;
  bool isSet(const std::string& key) const { return find(key) != end(); }
};
