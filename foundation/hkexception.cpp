#include <toviktwo/foundation/hkexception.h>

#include <sstream>

namespace {
// The message goes through a string stream, which leaves it as it is.
std::string passThroughStream(const std::string& message) {
  std::ostringstream os;
  os << message;
  return os.str();
}
}  // namespace

HKException::HKException(std::string message, int /*line*/, std::string /*source*/)
    : _what(passThroughStream(message)) {}

HKException::HKException(std::string message, std::string option, int /*line*/, std::string /*source*/)
    : _what(passThroughStream(message)), _option(std::move(option)) {}

HKException::HKException(const HKException& other, int /*line*/, std::string /*source*/)
    : std::exception(other), _what(other._what), _option(other._option) {}

HKException::~HKException() = default;

const char* HKException::what() const noexcept { return _what.c_str(); }

HKException2T::HKException2T(std::string message, std::string s1, std::string s2, int line,
                             std::string source)
    : HKException(std::move(message), line, std::move(source)), _s1(std::move(s1)), _s2(std::move(s2)) {}

HKException1I::HKException1I(std::string message, uint64_t value, int line, std::string source)
    : HKException(std::move(message), line, std::move(source)), _i1(value) {}

HKException_SSL::HKException_SSL(std::string message, int line, std::string source)
    : HKException("(SSL) " + message, line, std::move(source)) {}
