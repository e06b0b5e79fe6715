// One HTTP-shaped message, request or answer, from the first byte of its
// head to the end of its body. It reads itself from a byte buffer byte by
// byte and writes its own head.
#pragma once

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <toviktwo/foundation/hkbuffers.h>
#include <toviktwo/scheduler/hkjob.h>
#include <toviktwo/transport/hkmessageblock.h>
#include <toviktwo/transport/hkprotocols.h>
#include <toviktwo/transport/hkservercallback.h>

class HKHTMLKontextN;
class HKHTML_Document2;
class HKHTML_a2;
class HKHTML_form2;
class HKTransceiverServerL0;

// The method of a message.
enum HKHTTPScheme : int {
  HK_SCHEME_NONE = 0,
  HK_SCHEME_GET = 1,
  HK_SCHEME_POST = 2,
  HK_SCHEME_ANSWER = 3,
};

enum HKXHeaderType : int {
  HK_HEADER_NONE = 0,
  HK_HEADER_ANSWER = 1,
  HK_HEADER_REQUEST = 2,
};

// The software named in "Server:" and "User-Agent:" head lines.
extern const char* const HKServerSoftware;

class HKXHeader : public HKJob {
 public:
  using FieldMap = std::map<std::string, std::vector<std::string>>;

  HKXHeader(HKHTTPScheme scheme, bool serverSide, HKTovikProtocols_t protocol);
  ~HKXHeader() override;
  // Leaves the bus and waits for a delivery to this header in progress. A
  // header that another job may still reach through the bus calls it while
  // it is whole, before its destruction begins (see HKMakeTransportJob).
  void leaveBus();

  // ---- reading
  // 0: more bytes are needed; 1: drop the message; 2: complete. The last byte
  // that has arrived stays unparsed until the next one arrives (it may be the
  // CR of a CR LF). `onHead` is called when the head has ended; false drops.
  int parseInputData2(const std::function<bool(HKXHeader&)>& onHead);
  // Reads the body into named blocks (multipart/form-data or urlencoded).
  int parseContent2();
  int _parseContent2();
  bool _parse_http_head2(const std::string& line);
  void _filterURLPath(const std::string& path);
  void addField(const std::string& name, const std::string& value);
  bool isSet(const std::string& name) const;
  std::vector<std::string>& getField(const std::string& name);
  std::vector<std::string>& getInitialField(const std::string& name);
  FieldMap& getFields() { return _fields; }
  const std::string& getQuery() const { return _query; }
  HKHTTPScheme getMethod() const { return _scheme; }
  HKXHeaderType getHeaderType() const { return _headerType.load(); }
  void setHeaderType(HKXHeaderType t) { _headerType = t; }
  const std::string& getURLPath() const { return _urlPath; }
  // A path that stands in for the URL path when a session dispatches; "" by default.
  const std::string& getResetURLPath() const { return _resetURLPath; }
  void setResetURLPath(const std::string& path) { _resetURLPath = path; }
  std::string getURLPathDir() const;
  std::string getURLPathFile() const;
  const std::string& getURLHostPart() const { return _urlHostPart; }
  long getURLPort() const { return _urlPort; }
  const std::string& getHTTPFirstLine() const { return _firstLine; }
  std::string getProtocolString() const { return ::getProtocolString(_protocol); }
  std::string getUniqueURLHostDescriptor() const;
  bool getFormString(const std::string& name, std::string& out);
  bool isProblematic() const { return _problematic; }
  void setParsed() { _parsed = true; }
  bool isParsed() const { return _parsed; }
  bool isHeadPending() const { return _headPending; }
  bool isConnectionClose() const { return _connectionClose; }
  uint64_t contentLength() const { return _contentLength; }
  const std::string& getHTTPVersion() const { return _httpVersion; }

  // Blocks and their maps.
  std::deque<HKHTTPMessageBlock>& messageBlocks() { return _blocks; }
  HKHTTPMessageBlockDisposition& allBlocks() { return _dispAll; }
  HKHTTPMessageBlockDisposition& bodyBlocks() { return _dispBody; }
  HKHTTPMessageBlockDisposition& urlBlocks() { return _dispURL; }
  HKHTTPMessageBlockDisposition& indexBlocks() { return _dispIndex; }
  HKHTTPMessageBlockDisposition& emptyBlocks() { return _dispEmpty; }

  // ---- writing
  // Writes the head (answer or request). Only in job state 6, or in state 5
  // on the server side; otherwise false.
  virtual bool getHeader(std::ostream& out);
  virtual bool readyToWrite();
  virtual bool readyToRead();
  virtual HKTovikProtocols_t getProtocol() { return _protocol; }

  bool getOk() const { return _statusCode.load() > 99; }
  // Codes outside the status table are ignored.
  void setStatusCode(uint64_t code);
  uint64_t statusCode() const { return _statusCode.load(); }
  static const std::map<uint64_t, std::string>& statusCodes() { return _status_codes; }
  std::shared_ptr<class HKXResponseHeader> createResponseHeader();
  void addAnswerPath(const std::string& id) { _answerPath.push_back(id); }
  std::string answerPath(unsigned long i) const;
  void setFilename(const std::string& name, uint64_t size);
  const std::string& getFilename() const { return _filename; }
  void setCGIindicator() { _cgi = true; }
  bool getCGIindicator() const { return _cgi; }
  // The body buffer, created on first need; the header keeps it.
  HKStringBuf* getDataBuffer();
  // Hands the body buffer over to the caller, who then owns it (may be null).
  HKStringBuf* moveDataBuffer();
  void setInfo(const HKServerCallback_t& info) { _info = info; }
  HKServerCallback_t& getInfo() { return _info; }
  void fillInfoMap(std::map<std::string, std::string>& map);
  // Microseconds since the request time.
  double timeUsed() const;
  std::chrono::system_clock::time_point requestTime() const { return _requestTime; }
  void setCtask(const std::string& id) { _ctask = id; }
  const std::string& getCtask() const { return _ctask; }
  void setReleaseServer(bool r) { _releaseServer = r; }
  bool getReleaseServer() const { return _releaseServer; }
  uint64_t bytesWritten() const { return _bytesWritten; }
  uint64_t bytes2Write() const { return _bytes2Write; }
  void addBytesWritten(uint64_t n) { _bytesWritten += n; }
  bool headWritten() const { return _headWritten; }
  std::mutex& getMutex() { return _lock; }
  void setLocation(const std::string& l) { _location = l; }
  const std::string& getLocation() const { return _location; }
  void setMultipartBoundary(const std::string& b) { _boundary = b; }
  const std::string& getMultipartBoundary() const { return _boundary; }

  // Sets the state through the job's hook (6: ready to go out).
  bool setJobState(int s) { return setState(static_cast<_jobstates_t>(s)); }

  // A head line longer than this makes the parser drop the message.
  static constexpr unsigned long kMaxHeadLine = 1ul << 20;

 protected:
  static const std::map<std::string, HKHTTPScheme> _httpschemes;
  static const std::map<uint64_t, std::string> _status_codes;

  // Appends a block and enters it in the map by index.
  HKHTTPMessageBlock& _indexBlock(HKHTTPMessageBlock&& block);
  // Appends a block holding `value` under `name`.
  HKHTTPMessageBlock& _addPair(const std::string& name, const std::string& value);
  void _enterBlock(unsigned long index, HKHTTPMessageBlockDisposition& byName);
  void _parseMultipart(const std::string& boundary);
  void _parseUrlencoded();

  HKTovikProtocols_t _protocol;
  std::string _httpVersion = "1.1";
  HKStringBuf* _data = nullptr;
  bool _problematic = false;
  std::mutex _lock;
  bool _headWritten = false;
  bool _serverSide;
  uint64_t _bytesWritten = 0;
  uint64_t _bytes2Write = 0;
  HKHTTPScheme _scheme;
  bool _parsed = false;
  FieldMap _fields;
  FieldMap _initialFields;
  std::atomic<uint64_t> _statusCode{500};
  std::atomic<HKXHeaderType> _headerType{HK_HEADER_NONE};
  // A deque keeps the blocks in place while more are added, so the maps'
  // pointers stay valid.
  std::deque<HKHTTPMessageBlock> _blocks;
  HKHTTPMessageBlockDisposition _dispAll;
  HKHTTPMessageBlockDisposition _dispBody;
  HKHTTPMessageBlockDisposition _dispURL;
  HKHTTPMessageBlockDisposition _dispIndex;
  HKHTTPMessageBlockDisposition _dispEmpty;
  std::vector<std::string> _answerPath;
  std::string _ctask;
  std::string _urlPath;
  std::string _urlHostPart;
  std::string _query;
  std::string _firstLine;
  std::string _resetURLPath;
  std::string _urlUserPart;
  long _urlPort = 0;
  std::string _boundary;
  std::string _filename;
  bool _cgi = false;
  std::chrono::system_clock::time_point _requestTime;
  bool _releaseServer = false;
  HKServerCallback_t _info;
  std::string _location;
  std::string _headLine;
  bool _headPending = true;
  uint64_t _headLineCount = 0;
  uint64_t _contentLength = 0;
  bool _connectionClose = false;
};

// An answer.
class HKXResponseHeader : public HKXHeader {
 public:
  HKXResponseHeader(HKHTTPScheme scheme, bool serverSide, HKTovikProtocols_t protocol);
  // Writes the text into the body, status 200, job state 6.
  void setHTTPResponse200(const std::string& text);
  // The document printed into a text, then as above.
  void setHTTPResponse200(const HKHTML_Document2& document);
  // Location, job state 6, status 303; the number is not used.
  void Redirect(const std::string& url, int unused);
  // Asks the application to put `kontext` in place of the context `name`.
  void resetKontext(const std::string& name, HKHTMLKontextN* kontext);
  std::pair<std::string, HKHTMLKontextN*> resetKontext() const { return {_resetName, _resetKontext}; }

 private:
  std::string _resetName;
  HKHTMLKontextN* _resetKontext = nullptr;
};

// A request that the program sends to another server.
class HKXRequestHeader : public HKXHeader {
 public:
  HKXRequestHeader(HKHTTPScheme scheme, bool serverSide, HKTovikProtocols_t protocol);
  bool readyToRead() override;
  // GET only: the query of `url` becomes blocks and the query text ("?...").
  void setFullURL(const std::string& url);
  // Path, host, protocol and port from `url` (relative to `base` when it is
  // no full URL); "/" on "localhost" for an empty `url`. Job state 6.
  void setAddress(const std::string& url, const std::string& base);
  // The link's href as in setAddress; an empty href gives path "#" on
  // "localhost". Job state 6.
  void setData(HKHTML_a2& link, const std::string& base);
  // The form's action as in setAddress, and its direct "input" children as
  // the query (method "GET": text and hidden) or as a multipart body (method
  // "POST": text, hidden, file and blob). Job state 6.
  void setData(HKHTML_form2& form, const std::string& base);
};

// The description of a server to be started, with its options.
class HKXServerHeader : public HKXHeader {
 public:
  HKXServerHeader(bool toBeDeleted, HKTovikProtocols_t protocol);
  // Stops the server it started: the server no longer refers to this header.
  ~HKXServerHeader() override;
  std::string getOption(const std::string& key, const std::string& fallback);
  void setOption(const std::string& key, const std::string& value);
  // Whether a connection of the map's "type" is taken: "HTTP", "HTTPS",
  // "DirectSocket" and "TOVIK".
  bool incomingConnection(std::map<std::string, std::string>& map);
  void stop();
  void setTransceiverServer(std::shared_ptr<HKTransceiverServerL0> server);
  std::shared_ptr<HKTransceiverServerL0> getTransceiverServer() { return _server; }
  bool isToBeDeleted() const { return _toBeDeleted; }
  std::map<std::string, std::string> getOptions();

 private:
  bool _toBeDeleted;
  std::shared_ptr<HKTransceiverServerL0> _server;
  std::map<std::string, std::string> _options;
};
