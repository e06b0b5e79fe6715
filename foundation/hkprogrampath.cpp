#include <toviktwo/foundation/hkprogrampath.h>

#include <unistd.h>

#include <cstdlib>

namespace {

// Used when PATH is not set, as the exec family does.
constexpr const char* kDefaultPath = "/bin:/usr/bin";

}  // namespace

std::vector<std::string> HKProgramCandidates(const std::string& name) {
  std::vector<std::string> found;
  if (name.empty()) return found;
  if (name.find('/') != std::string::npos) return {name};
  const char* env = std::getenv("PATH");
  const std::string path = env ? env : kDefaultPath;
  size_t start = 0;
  while (start <= path.size()) {
    size_t end = path.find(':', start);
    if (end == std::string::npos) end = path.size();
    const std::string dir = end > start ? path.substr(start, end - start) : ".";
    const std::string candidate = dir + "/" + name;
    if (access(candidate.c_str(), X_OK) == 0) found.push_back(candidate);
    start = end + 1;
  }
  return found;
}
