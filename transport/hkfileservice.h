// Which file of the base directory a URL path names, and whether it may be
// served.
//
// The URL path is taken literally (it is not percent-decoded), so
// "%2e%2e/x" names a folder called "%2e%2e". Joining: a directory path with
// `HKPath`'s "+" ends in "/" ("base/x.txt/"), which no regular file
// matches; `join` puts the base directory and the path together so that the
// file itself is named ("base/x.txt").
//
// Containment: a file is servable only when its resolved path (symlinks and
// every ".." taken into account) lies inside the resolved base directory,
// and when it is a regular file: a directory or a device is never a file to
// serve. Everything else is refused, and the request goes on to the 404
// page.
#pragma once

#include <string>

class HKFileService {
 public:
  // An empty base directory means no file service at all.
  explicit HKFileService(const std::string& baseDirectory);

  bool enabled() const { return !_base.empty(); }
  // The base directory with one "/" at its end ("" when disabled).
  const std::string& base() const { return _base; }
  // The base directory and `relative` as one path naming the file itself:
  // ("site", "a/b.txt") -> "site/a/b.txt".
  std::string join(const std::string& relative) const;
  // join(relative) when that is a regular file inside the base directory
  // (after resolving), with its size in `size`; "" otherwise, also when
  // `relative` holds a NUL byte or the service is disabled.
  std::string servableFile(const std::string& relative, unsigned long* size) const;

 private:
  std::string _base;
};
