// Byte buffers that carry data between the network, child process pipes and
// the message parsers.
#pragma once

#include <cstdint>
#include <sstream>
#include <string>

// A growing and shrinking byte array. Room is allocated in blocks so that a
// network read does not reallocate every time; a zero byte always follows
// the data, so GetBuffer() can be read as a C string for text content.
// Invariant: allocated size == length + free + 1.
class HKInputStreamBinary {
 public:
  explicit HKInputStreamBinary(unsigned long blocksize);
  HKInputStreamBinary(const HKInputStreamBinary& other);
  ~HKInputStreamBinary();
  // Clears, then appends the other's bytes; the block size stays our own.
  HKInputStreamBinary& operator=(const HKInputStreamBinary& other);

  long AddBytes(const unsigned char* data, unsigned long n);
  long AddChars(const char* data, unsigned long n);
  // Makes room for at least `n` bytes, then reads as much as there is room
  // for. Returns what read() returned.
  long AddByRead(int fd, unsigned long n);
  HKInputStreamBinary& operator+=(char c);

  // The data's address; any adding or removing may move it.
  unsigned char* GetStrBuffer() { return _buffer; }
  const unsigned char* GetBuffer() const { return _buffer; }

  unsigned long RemoveNBytes(unsigned long n);
  unsigned long RemoveNBytesFromBack(unsigned long n);
  bool CompareLastByte(unsigned char b);
  unsigned long length() const { return _length; }
  unsigned long Free() const { return _free; }
  unsigned long BlockSize() const { return _blocksize; }
  void clear() { RemoveNBytes(length()); }

  // Pattern search for data that arrives in pieces: a match that runs into
  // the end of the data is reported with only its first part seen. -1 when
  // nothing is found, when start < 0, n == 0, or start + n >= length().
  long FindPattern(const char* pattern, unsigned long n, long start);

 private:
  void _growFor(unsigned long n);

  unsigned char* _buffer;
  uint64_t _length;
  uint64_t _free;
  uint64_t _blocksize;
  int64_t _notfound;
};

// A thin text accumulator.
class HKInputStream {
 public:
  explicit HKInputStream(int ignored = 0);
  void AddString(const char* data, int n);
  const char* GetStrBuffer() const { return _s.c_str(); }
  // 0 does nothing, -1 empties, any other value erases that many bytes from
  // the front (at most all).
  void RemoveNBytes(int n);
  unsigned long BytesFilled() const { return _s.size(); }
  // Non-overlapping occurrences of `s`.
  unsigned long CountStr(std::string s) const;

 private:
  std::string _s;
};

// A string buffer opened for reading and writing. What is written is
// readable at once: sizes are measured against the write position.
class HKStringBuf : public std::stringbuf {
 public:
  HKStringBuf();
  ~HKStringBuf() override;

  char* getStart(unsigned long offset) { return eback() + offset; }
  unsigned long getSizeWritten() { return static_cast<unsigned long>(pptr() - pbase()); }
  char* getStartReadout() { return gptr(); }
  unsigned long getSizeReadable() { return static_cast<unsigned long>(pptr() - gptr()); }
  // Looks for `s` from the read position plus `offset`, for at most `limit`
  // bytes. A byte that breaks a match is not tried again as a first byte, and
  // a partial match at the end of the data is returned like a whole one.
  char* locateString(const std::string& s, unsigned long offset, unsigned long limit);
  // Appends up to `count` bytes from the read position plus `offset`.
  void stringCopy(std::string& out, unsigned long offset, unsigned long count);
  // Advances the read position by `n` bytes, at most to the write position.
  void consume(unsigned long n);
  // Gives up all storage.
  void clear();
  void stringput(const std::string& s);
};
