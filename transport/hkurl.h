// URLs split into checked parts.
#pragma once

#include <map>
#include <string>

#include <toviktwo/transport/hkprotocols.h>

class HKURL {
 public:
  HKURL();
  // Throws HKException when the text is no URL of a known scheme.
  HKURL(std::string url, HKTovikProtocols_t defaultProtocol);
  // A URL relative to `base` and the directory `dir`; a text with "://" is
  // taken alone, an absolute path is joined with `base` only.
  HKURL(std::string url, std::string base, std::string dir);
  HKURL(HKURL&&) = default;
  HKURL(const HKURL&) = default;
  HKURL& operator=(HKURL&&) = default;
  HKURL& operator=(const HKURL&) = default;
  ~HKURL();

  // The text of a protocol number; "none" for a number without one.
  static std::string getProtocol(HKTovikProtocols_t protocol);
  // scheme "://" host ":" port path
  std::string getURLcompleteString() const;

  const std::string& getScheme() const { return _scheme; }
  const std::string& getUserInfo() const { return _userinfo; }
  const std::string& getUser() const { return _user; }
  const std::string& getHost() const { return _host; }
  const std::string& getPort() const { return _port; }
  const std::string& getPath() const { return _path; }
  // Without the leading "?".
  const std::string& getQuery() const { return _query; }
  // Without the leading "#".
  const std::string& getFragment() const { return _fragment; }
  HKTovikProtocols_t getProtocolNumber() const { return _protocol; }
  HKTovikProtocols_t getDefaultProtocol() const { return _defaultProtocol; }

 private:
  void _initFromURL(const std::string& url);

  static const std::map<int, std::string> _protocoltoken;

  std::string _scheme;
  std::string _userinfo;
  std::string _user;
  std::string _host;
  std::string _port;
  std::string _path;
  std::string _query;
  std::string _fragment;
  HKTovikProtocols_t _protocol = HK_PROTO_NONE;
  HKTovikProtocols_t _defaultProtocol = static_cast<HKTovikProtocols_t>(1);
};
