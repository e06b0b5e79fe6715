#include <toviktwo/foundation/hkbuffers.h>

#include <unistd.h>

#include <cstring>
#include <new>
#include <vector>

// ---------------------------------------------------------------- HKInputStreamBinary

HKInputStreamBinary::HKInputStreamBinary(unsigned long blocksize)
    : _buffer(nullptr), _length(0), _free(0), _blocksize(blocksize ? blocksize : 1), _notfound(-1) {
  _buffer = new unsigned char[_blocksize + 1];
  _buffer[0] = 0;
  _free = _blocksize;
}

HKInputStreamBinary::HKInputStreamBinary(const HKInputStreamBinary& other)
    : HKInputStreamBinary(other._blocksize) {
  AddBytes(other._buffer, other._length);
}

HKInputStreamBinary::~HKInputStreamBinary() { delete[] _buffer; }

HKInputStreamBinary& HKInputStreamBinary::operator=(const HKInputStreamBinary& other) {
  if (this == &other) return *this;
  clear();
  AddBytes(other._buffer, other._length);
  return *this;
}

void HKInputStreamBinary::_growFor(unsigned long n) {
  // Always leaves at least one block of room beyond the need.
  const uint64_t blocks = (n - _free) / _blocksize + 2;
  if (blocks > UINT64_MAX / _blocksize) throw std::bad_alloc();
  const uint64_t grow = blocks * _blocksize;
  const uint64_t oldSize = _length + _free + 1;
  if (grow > UINT64_MAX - oldSize) throw std::bad_alloc();
  unsigned char* fresh = new unsigned char[oldSize + grow];
  std::memcpy(fresh, _buffer, _length + 1);
  delete[] _buffer;
  _buffer = fresh;
  _free += grow;
}

long HKInputStreamBinary::AddBytes(const unsigned char* data, unsigned long n) {
  if (n == 0) return 0;
  if (n > _free) {
    if (data >= _buffer && data < _buffer + _length + _free + 1) {
      // Appending a part of ourselves: copy it before the array moves.
      std::vector<unsigned char> copy(data, data + n);
      _growFor(n);
      std::memcpy(_buffer + _length, copy.data(), n);
    } else {
      _growFor(n);
      std::memcpy(_buffer + _length, data, n);
    }
  } else {
    std::memmove(_buffer + _length, data, n);
  }
  _free -= n;
  _length += n;
  _buffer[_length] = 0;
  return static_cast<long>(n);
}

long HKInputStreamBinary::AddChars(const char* data, unsigned long n) {
  return AddBytes(reinterpret_cast<const unsigned char*>(data), n);
}

long HKInputStreamBinary::AddByRead(int fd, unsigned long n) {
  if (_free < n) _growFor(n);
  const ssize_t r = ::read(fd, _buffer + _length, _free);
  // The count is applied without looking at its sign: a failed read (-1)
  // takes one byte off the end of the data. An empty buffer has nothing to
  // take off and stays empty.
  int32_t got = static_cast<int32_t>(r);
  if (got < 0 && static_cast<uint64_t>(-static_cast<int64_t>(got)) > _length)
    got = -static_cast<int32_t>(_length);
  _length += static_cast<int64_t>(got);
  _free -= static_cast<int64_t>(got);
  _buffer[_length] = 0;
  return static_cast<long>(r);
}

HKInputStreamBinary& HKInputStreamBinary::operator+=(char c) {
  AddChars(&c, 1);
  return *this;
}

unsigned long HKInputStreamBinary::RemoveNBytes(unsigned long n) {
  if (n == 0) return 0;
  const uint64_t m = n < _length ? n : _length;
  _length -= m;
  _free += m;
  if (_free <= 4 * _blocksize) {
    std::memmove(_buffer, _buffer + m, _length + 1);
  } else {
    // A drained buffer falls back to a small array.
    unsigned char* fresh = new unsigned char[_length + 2 * _blocksize + 1];
    std::memcpy(fresh, _buffer + m, _length + 1);
    delete[] _buffer;
    _buffer = fresh;
    _free = 2 * _blocksize;
  }
  return m;
}

unsigned long HKInputStreamBinary::RemoveNBytesFromBack(unsigned long n) {
  const uint64_t m = n < _length ? n : _length;
  _length -= m;
  _free += m;
  _buffer[_length] = 0;
  return m;
}

bool HKInputStreamBinary::CompareLastByte(unsigned char b) {
  return _length > 0 && _buffer[_length - 1] == b;
}

long HKInputStreamBinary::FindPattern(const char* pattern, unsigned long n, long start) {
  if (start < 0 || n == 0) return _notfound;
  if (static_cast<uint64_t>(start) + n >= _length) return _notfound;
  const auto* pat = reinterpret_cast<const unsigned char*>(pattern);
  uint64_t m = 0;
  uint64_t s = 0;
  for (uint64_t k = static_cast<uint64_t>(start); k < _length; ++k) {
    if (_buffer[k] == pat[m]) {
      if (m == 0) s = k;
      if (++m == n) break;
    } else if (m != 0) {
      k = s;
      m = 0;
    }
  }
  return m != 0 ? static_cast<long>(s) : _notfound;
}

// ---------------------------------------------------------------- HKInputStream

HKInputStream::HKInputStream(int /*ignored*/) {}

void HKInputStream::AddString(const char* data, int n) {
  // A negative count becomes a size no string can hold: the standard length
  // error ("basic_string::append") is raised.
  _s.append(data, static_cast<std::string::size_type>(n));
}

void HKInputStream::RemoveNBytes(int n) {
  if (n == 0) return;
  if (n == -1) {
    _s.clear();
    return;
  }
  _s.erase(0, static_cast<std::string::size_type>(n));
}

unsigned long HKInputStream::CountStr(std::string s) const {
  if (s.empty()) return 0;
  unsigned long count = 0;
  for (auto p = _s.find(s); p != std::string::npos; p = _s.find(s, p + s.size())) ++count;
  return count;
}

// ---------------------------------------------------------------- HKStringBuf

HKStringBuf::HKStringBuf() : std::stringbuf(std::ios::in | std::ios::out) {}

HKStringBuf::~HKStringBuf() = default;

char* HKStringBuf::locateString(const std::string& s, unsigned long offset, unsigned long limit) {
  if (eback() == nullptr || s.empty() || limit == 0) return nullptr;
  const unsigned long readable = getSizeReadable();
  if (readable < s.size() || readable <= offset) return nullptr;
  char* p = gptr() + offset;
  char* const end = pptr();
  if (p >= end) return nullptr;
  const char* q = s.c_str();
  char* match = nullptr;
  unsigned long walked = 0;
  while (*q != 0) {
    if (*p == *q) {
      if (match == nullptr) match = p;
      ++q;
    } else {
      match = nullptr;
      q = s.c_str();
    }
    ++p;
    if (p == end || ++walked == limit) return match;
  }
  return match;
}

void HKStringBuf::stringCopy(std::string& out, unsigned long offset, unsigned long count) {
  if (eback() == nullptr || offset >= getSizeReadable()) return;
  const char* p = gptr() + offset;
  const char* end = pptr();
  for (unsigned long i = 0; i < count && p < end; ++i) out += *p++;
}

void HKStringBuf::consume(unsigned long n) {
  if (eback() == nullptr) return;
  const unsigned long readable = getSizeReadable();
  if (n > readable) n = readable;
  // The get area's end may lag behind the write position; bring it along.
  char* end = egptr() < pptr() ? pptr() : egptr();
  setg(eback(), gptr() + n, end);
}

void HKStringBuf::clear() {
  HKStringBuf fresh;
  swap(fresh);
}

void HKStringBuf::stringput(const std::string& s) { sputn(s.data(), static_cast<std::streamsize>(s.size())); }
