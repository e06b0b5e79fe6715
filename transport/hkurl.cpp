#include <toviktwo/transport/hkurl.h>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hkstringtools.h>

std::string getProtocolString(HKTovikProtocols_t protocol) {
  switch (protocol) {
    case HK_PROTO_HTTP: return "http";
    case HK_PROTO_HTTPS: return "https";
    case HK_PROTO_TOVIK: return "tovik";
    case HK_PROTO_TOVIKS: return "toviks";
    case HK_PROTO_SOCKET: return "socket";
    default: return "unknown";
  }
}

const std::map<int, std::string> HKURL::_protocoltoken = {
    {HK_PROTO_HTTP, "http"},   {HK_PROTO_HTTPS, "https"},   {HK_PROTO_FILE, "file"},
    {HK_PROTO_TOVIK, "tovik"}, {HK_PROTO_TOVIKS, "toviks"}, {HK_PROTO_SOCKET, "socket"},
};

HKURL::HKURL() = default;

HKURL::HKURL(std::string url, HKTovikProtocols_t defaultProtocol) : _defaultProtocol(defaultProtocol) {
  _initFromURL(url);
}

HKURL::HKURL(std::string url, std::string base, std::string dir) {
  if (url.find("://") != std::string::npos) {
    _initFromURL(url);
  } else if (!url.empty()) {
    if (url.front() == '/')
      _initFromURL(urlpathconnect(base, url));
    else
      _initFromURL(urlpathconnect(urlpathconnect(base, dir), url));
  }
}

HKURL::~HKURL() = default;

std::string HKURL::getProtocol(HKTovikProtocols_t protocol) {
  const auto it = _protocoltoken.find(protocol);
  return it == _protocoltoken.end() ? "none" : it->second;
}

std::string HKURL::getURLcompleteString() const {
  const bool literal6 = _host.find(':') != std::string::npos;
  return _scheme + "://" + (literal6 ? "[" + _host + "]" : _host) + ":" + _port + _path;
}

namespace {
void fail(const char* text) { throw HKException(text, __LINE__, "src"); }
}  // namespace

void HKURL::_initFromURL(const std::string& url) {
  const auto colon = url.find(':');
  if (colon == std::string::npos) fail("missing URL scheme");
  _scheme = HKLowerCase(url.substr(0, colon));
  std::string::size_type pos = colon + 1;

  // Path, query and fragment from `pos` on.
  auto splitRest = [&](std::string::size_type from) {
    const auto end = url.find_first_of("?#", from);
    _path = url.substr(from, end == std::string::npos ? std::string::npos : end - from);
    if (end != std::string::npos && url[end] == '?') {
      const auto hash = url.find('#', end);
      _query = url.substr(end + 1, hash == std::string::npos ? std::string::npos : hash - end - 1);
      if (hash != std::string::npos) _fragment = url.substr(hash + 1);
    } else if (end != std::string::npos) {
      _fragment = url.substr(end + 1);
    }
  };

  static const char* withAuthority[] = {"http", "https", "ftp", "tovik", "toviks", "socket"};
  bool authority = false;
  for (const char* s : withAuthority)
    if (_scheme == s) authority = true;

  if (authority) {
    if (url.compare(pos, 2, "//") != 0) fail("wrong URL scheme");
    pos += 2;
    const auto authEnd = url.find_first_of("/?#", pos);
    const auto at = url.find('@', pos);
    if (at != std::string::npos && (authEnd == std::string::npos || at < authEnd)) {
      _userinfo = url.substr(pos, at - pos);
      _user = _userinfo.substr(0, _userinfo.find(':'));
      if (_user.empty()) fail("wrong URL scheme, user not defined");
      pos = at + 1;
    }
    const auto end = url.find_first_of("/?#", pos);
    const std::string auth = url.substr(pos, end == std::string::npos ? std::string::npos : end - pos);
    bool hasPort = false;
    std::string port;
    if (!auth.empty() && auth.front() == '[') {
      // A bracketed IPv6 literal: the host is what stands between the brackets.
      const auto close = auth.find(']');
      if (close == std::string::npos) fail("wrong URL scheme, missing host");
      _host = auth.substr(1, close - 1);
      if (close + 1 < auth.size()) {
        if (auth[close + 1] != ':') fail("wrong URL scheme, wrong port number");
        hasPort = true;
        port = auth.substr(close + 2);
      }
    } else {
      const auto c = auth.find(':');
      _host = auth.substr(0, c);
      if (c != std::string::npos) {
        hasPort = true;
        port = auth.substr(c + 1);
      }
    }
    if (hasPort && (port.empty() || port.find_first_not_of("0123456789") != std::string::npos))
      fail("wrong URL scheme, wrong port number");
    if (_host.empty()) fail("wrong URL scheme, missing host");
    if (hasPort)
      _port = port;
    else if (_scheme == "http" || _scheme == "tovik" || _scheme == "socket")
      _port = "80";
    else if (_scheme == "https" || _scheme == "toviks")
      _port = "443";
    else
      _port = "23";
    splitRest(end == std::string::npos ? url.size() : end);
    if (_path.empty()) _path.push_back('/');
  } else if (_scheme == "file") {
    if (url.compare(pos, 2, "//") != 0) fail("wrong URL scheme");
    splitRest(pos + 2);
  } else if (_scheme == "mailto" || _scheme == "news" || _scheme == "nntp" || _scheme == "telnet") {
    fail("not supported URL scheme");
  } else {
    fail("wrong URL scheme");
  }

  _protocol = HK_PROTO_NONE;
  for (const auto& [number, text] : _protocoltoken)
    if (text == _scheme) _protocol = static_cast<HKTovikProtocols_t>(number);
}
