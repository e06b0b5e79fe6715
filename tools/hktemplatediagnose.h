// Finding the cause of one reading failure (for the template checker).
//
// hkTplSteppedRead reads a text token by token with the library's reader
// and grammar "html" and, when reading fails, reports where the failing token
// began and which elements were open. HKTplDiagnose turns that into hints
// and one repair of the text (a replacement of a range) that removes this
// cause, so that the checker can read on.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "hktemplatechecker.h"

namespace hktpl {

struct HKTplFailure {
  bool failed = false;
  std::string message;
  std::size_t tokenStart = 0;  // where the failing token began
  // Open elements, innermost first: type name and the position of its start
  // tag (npos when not known).
  std::vector<std::pair<std::string, std::size_t>> open;
  std::string grammar;
};

HKTplFailure HKTplSteppedRead(const std::string& text);

struct HKTplDiagnosis {
  std::size_t marker = 0;  // position the report points at
  std::vector<HKTplHint> hints;
  bool hasRepair = false;
  std::size_t repairBegin = 0;
  std::size_t repairEnd = 0;
  std::string replacement;
};

HKTplDiagnosis HKTplDiagnose(const std::string& text, const HKTplFailure& failure);

}  // namespace hktpl
