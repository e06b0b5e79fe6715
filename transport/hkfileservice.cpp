#include <toviktwo/transport/hkfileservice.h>

#include <stdlib.h>
#include <sys/stat.h>

#include <memory>

#include <toviktwo/foundation/hkstringtools.h>

namespace {

// The canonical absolute path of `path`, "" when it does not exist.
std::string resolved(const std::string& path) {
  std::unique_ptr<char, decltype(&free)> r(realpath(path.c_str(), nullptr), &free);
  return r ? std::string(r.get()) : std::string();
}

}  // namespace

HKFileService::HKFileService(const std::string& baseDirectory)
    : _base(baseDirectory.empty() ? std::string() : HKPath(baseDirectory).str()) {}

std::string HKFileService::join(const std::string& relative) const { return _base + relative; }

std::string HKFileService::servableFile(const std::string& relative, unsigned long* size) const {
  if (!enabled() || relative.find('\0') != std::string::npos) return "";
  const std::string joined = join(relative);
  // The base is resolved at each call: it may be made, moved or relinked
  // while the server runs.
  std::string root = resolved(_base);
  const std::string target = resolved(joined);
  if (root.empty() || target.empty()) return "";
  if (root.back() != '/') root += '/';
  if (target.compare(0, root.size(), root) != 0) return "";
  struct stat st {};
  if (stat(target.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return "";
  if (size) *size = static_cast<unsigned long>(st.st_size);
  return joined;
}
