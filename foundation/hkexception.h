// Exceptions of the toviktwo library.
//
// Every throw site passes a line number and a source label ("src"); the
// constructors accept both so that throw statements look alike everywhere,
// and keep only the message (and an optional second text).
#pragma once

#include <cstdint>
#include <exception>
#include <string>

class HKException : public std::exception {
 public:
  HKException(std::string message, int line, std::string source);
  HKException(std::string message, std::string option, int line, std::string source);
  HKException(const HKException& other, int line, std::string source);
  HKException(const HKException&) = default;
  HKException& operator=(const HKException&) = default;
  ~HKException() override;
  const char* what() const noexcept override;

  // The second text a thrower may attach; empty unless given.
  std::string& GetOption() { return _option; }
  const std::string& GetOption() const { return _option; }

 protected:
  std::string _what;
  std::string _option;
};

// An exception that carries two further texts.
class HKException2T : public HKException {
 public:
  HKException2T(std::string message, std::string s1, std::string s2, int line, std::string source);
  std::string& GetS1() { return _s1; }
  std::string& GetS2() { return _s2; }
  const std::string& GetS1() const { return _s1; }
  const std::string& GetS2() const { return _s2; }

 private:
  std::string _s1;
  std::string _s2;
};

// An exception that carries one unsigned number.
class HKException1I : public HKException {
 public:
  HKException1I(std::string message, uint64_t value, int line, std::string source);
  uint64_t& GetI1() { return _i1; }
  const uint64_t& GetI1() const { return _i1; }

 private:
  uint64_t _i1;
};

// A TLS failure; its message is prefixed with "(SSL) ".
class HKException_SSL : public HKException {
 public:
  HKException_SSL(std::string message, int line, std::string source);
};
