// Attribute values of XML elements.
//
// An element keeps its attributes as objects in an ordered table (see
// hkxmlelement.h). Every attribute prints itself, knows whether it is set
// (an unset attribute is left out of the printed tag), and takes new values
// from text through its virtual assignment, so that a typed attribute parses
// what the reader hands it.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <type_traits>

// The abstract attribute: always set, prints nothing, ignores assignments.
class HKXMLComplexAttribute2 {
 public:
  HKXMLComplexAttribute2() = default;
  HKXMLComplexAttribute2(const HKXMLComplexAttribute2&) = default;
  virtual ~HKXMLComplexAttribute2();
  // Attribute objects take their memory from the library's pool for small
  // tree objects, see xml/hkxmlnodepool.h.
  static void* operator new(std::size_t size);
  static void operator delete(void* p, std::size_t size) noexcept;
  virtual bool AttributeIsSet() const;
  virtual void print(std::ostream& os) const;
  // Ignores the value and returns a shared empty text.
  virtual const std::string& operator=(const std::string& value);
  // Ignores the value.
  virtual const std::string& operator=(const char* value);

 protected:
  static const std::string& _emptyText();
};

// A plain text value; always set.
class HKXMLGenericAttribute : public HKXMLComplexAttribute2 {
 public:
  HKXMLGenericAttribute() = default;
  explicit HKXMLGenericAttribute(std::string text);
  void print(std::ostream& os) const override;
  const std::string& operator=(const std::string& value) override;
  // A null pointer stores the empty text.
  const std::string& operator=(const char* value) override;
  const std::string& str() const { return _text; }

 private:
  std::string _text;
};

// A text value that may be unset; the default constructor leaves it unset.
class HKXMLStringHKAttribute : public HKXMLComplexAttribute2 {
 public:
  HKXMLStringHKAttribute() = default;
  explicit HKXMLStringHKAttribute(std::string text);
  bool AttributeIsSet() const override;
  void print(std::ostream& os) const override;
  const std::string& operator=(const std::string& value) override;
  // A null pointer stores the empty text and clears the set flag.
  const std::string& operator=(const char* value) override;
  const std::string& str() const { return _text; }

 private:
  std::string _text;
  bool _set = false;
};

// Numeric attributes. Assignment from a std::string parses with the standard
// conversion and lets its std::invalid_argument / std::out_of_range reach the
// caller (the value and flag stay as they were). Assignment from a char const*
// is lenient: an empty text, a null pointer or a failed conversion store 0.
// Every successful assignment sets the flag.
class HKXMLDoubleHKAttribute : public HKXMLComplexAttribute2 {
 public:
  HKXMLDoubleHKAttribute() = default;
  explicit HKXMLDoubleHKAttribute(double value);
  bool AttributeIsSet() const override;
  void print(std::ostream& os) const override;
  const std::string& operator=(const std::string& value) override;
  const std::string& operator=(const char* value) override;
  template <typename T>
    requires std::is_arithmetic_v<T>
  HKXMLDoubleHKAttribute& operator=(T value) {
    _value = static_cast<double>(value);
    _set = true;
    return *this;
  }
  double operator()() const { return _value; }

 private:
  double _value = 0.0;
  bool _set = false;
};

class HKXMLUint64_tHKAttribute : public HKXMLComplexAttribute2 {
 public:
  HKXMLUint64_tHKAttribute() = default;
  explicit HKXMLUint64_tHKAttribute(uint64_t value);
  bool AttributeIsSet() const override;
  void print(std::ostream& os) const override;
  const std::string& operator=(const std::string& value) override;
  const std::string& operator=(const char* value) override;
  template <typename T>
    requires std::is_arithmetic_v<T>
  HKXMLUint64_tHKAttribute& operator=(T value) {
    _value = static_cast<uint64_t>(value);
    _set = true;
    return *this;
  }
  uint64_t operator()() const { return _value; }

 private:
  uint64_t _value = 0;
  bool _set = false;
};

class HKXMLInt64_tHKAttribute : public HKXMLComplexAttribute2 {
 public:
  HKXMLInt64_tHKAttribute() = default;
  explicit HKXMLInt64_tHKAttribute(int64_t value);
  bool AttributeIsSet() const override;
  void print(std::ostream& os) const override;
  const std::string& operator=(const std::string& value) override;
  const std::string& operator=(const char* value) override;
  template <typename T>
    requires std::is_arithmetic_v<T>
  HKXMLInt64_tHKAttribute& operator=(T value) {
    _value = static_cast<int64_t>(value);
    _set = true;
    return *this;
  }
  int64_t operator()() const { return _value; }

 private:
  int64_t _value = 0;
  bool _set = false;
};

// A truth value. From text: a base-10 integer is true when not zero; text
// that is no integer is true exactly when it is "true". Never throws on text.
// Prints in the stream's bool form ("1"/"0" by default).
class HKXMLBoolHKAttribute : public HKXMLComplexAttribute2 {
 public:
  HKXMLBoolHKAttribute() = default;
  explicit HKXMLBoolHKAttribute(bool value);
  bool AttributeIsSet() const override;
  void print(std::ostream& os) const override;
  const std::string& operator=(const std::string& value) override;
  const std::string& operator=(const char* value) override;
  template <typename T>
    requires std::is_arithmetic_v<T>
  HKXMLBoolHKAttribute& operator=(T value) {
    _value = static_cast<bool>(value);
    _set = true;
    return *this;
  }
  bool operator()() const { return _value; }

 private:
  bool _value = false;
  bool _set = false;
};

// Stands in the attribute table for an attribute owned elsewhere (typically
// a member of the element): printing, the set flag and assignment all reach
// the referenced attribute. Destroying the proxy leaves the target alone.
class HKXMLComplexAttributeProxy2 : public HKXMLComplexAttribute2 {
 public:
  explicit HKXMLComplexAttributeProxy2(HKXMLComplexAttribute2& target);
  bool AttributeIsSet() const override;
  void print(std::ostream& os) const override;
  const std::string& operator=(const std::string& value) override;
  const std::string& operator=(const char* value) override;
  HKXMLComplexAttribute2& target() const { return _target; }

 private:
  HKXMLComplexAttribute2& _target;
};
