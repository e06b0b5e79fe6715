// What a server hands a complete request to, and how answers go back.
//
// HKTransceiverClient is connected to one HKTransceiver (the first wins),
// starts its servers through `receive`, and gets every complete message of
// them in `onReceived`, on the buffer job of the server that read it.
// Answers leave through `send` (or `_sendAnswer` for a response to a
// request), which writes in the calling job.
//
// Routing (hktransceiverclient_routing.cpp): `_virtualPage` hands requests
// to the application's sessions, `_cgiOrPage` serves stored pages, files,
// PHP pages and CGI programs from the base directory ("_baseDirectoryHTTP";
// empty: no file service), and a request that nothing takes gets the 404
// page from `_notFound`. CGI and PHP children are stopped after
// "_cgitimeout" seconds (default 30). An application that wants another
// mapping derives and overrides them.
//
// Threads: `onReceived` and all below it run in a server's buffer job;
// several servers may run one client at the same time. The client's lock is
// held only around sending.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include <toviktwo/scheduler/hkjob.h>
#include <toviktwo/transport/hkcgi.h>
#include <toviktwo/transport/hkfileservice.h>
#include <toviktwo/transport/hkservercallback.h>

class HKTovikApplication2;
class HKTransceiver;
class HKXHeader;
class HKXServerHeader;

class HKTransceiverClient : public HKJob {
 public:
  // Values of the known-identifier table.
  static constexpr int32_t kKnownServer = 1;
  static constexpr int32_t kKnownSent = 2;

  HKTransceiverClient(HKServerCallbackFunction callback, std::map<std::string, std::string> options,
                      HKTovikApplication2* application);
  ~HKTransceiverClient() override;

  // ---- routing
  // Sessions: a request with a "tovikid" goes to the application's
  // invokeContext; one without, on exactly the command URL, to a new
  // context. True when answered; a response left at 500 is not answered.
  virtual bool _virtualPage(const std::string& id, HKXHeader& header);
  // "/": index.php, else index.html. Otherwise (first character of the path
  // removed; a "." there is refused) a stored page, a file (".php" runs
  // PHP), or below "cgi-bin/" a CGI program. Only regular files inside the
  // base directory count. True when answered.
  virtual bool _cgiOrPage(const std::string& id, HKXHeader& header);
  // The 404 page ("Error 404 - not found"); true.
  virtual bool _notFound(const std::string& id, HKXHeader& header);
  // The application's stored page of `path`; false without an application.
  virtual bool _preloadContent(const std::string& path, const std::string& id, HKXHeader& header);
  // Runs the PHP program on `script`; false when the script is gone or the
  // method is neither GET nor POST.
  virtual bool _phpcall(const std::string& script, const std::string& id, HKXHeader& header);
  // Runs the CGI program `script`; as _phpcall.
  virtual bool _cgicall(const std::string& script, const std::string& id, HKXHeader& header);
  // The CGI environment of the request (see HKFillCGIVariables).
  virtual bool _fillCGICALLVARS(const std::string& script, std::map<std::string, std::string>& env,
                                HKXHeader& header);

  // ---- answers to client-side messages
  virtual bool _onReceived_Response_DirectSocket(const std::string& id, HKXHeader& header);
  // Sets release server; true.
  virtual bool _onReceived_Response_HTTP(const std::string& id, HKXHeader& header);
  virtual bool _onReceived_Response_TOVIK(const std::string& id, HKXHeader& header);

  // ---- transport
  // Sets the transceiver; the first wins (false for another one later).
  virtual bool connect(HKTransceiver& transceiver);
  // Clears the transceiver when it is this one.
  virtual bool disconnect(HKTransceiver& transceiver);
  virtual void onSent(const unsigned long& count);
  // Dispatch of a complete message by type and protocol; true when it was
  // taken (or `id` is unknown), false when it was not.
  virtual bool onReceived(const std::string& id, HKXHeader& header);
  virtual void onError(std::string text);
  // Called when a request's head is complete; false drops it and closes.
  virtual bool onAuthorize(HKXHeader& header);
  // Sends through the transceiver; the identifier, or "" with no transceiver.
  virtual std::string send(std::shared_ptr<HKXHeader> header, bool unused);
  // Starts a server; its identifier, or "".
  virtual std::string receive(std::shared_ptr<HKXServerHeader> header);

  // ---- for routing
  // Sends an answer to `request` with the request's combined task; true when delivered.
  bool _sendAnswer(HKXHeader& request, std::shared_ptr<HKXHeader> response);
  HKTransceiver* getTransceiver();
  HKTovikApplication2* getApplication() const { return _application; }
  const std::map<std::string, std::string>& getOptions() const { return _options; }
  // 1 server, 2 sent header, 0 unknown.
  int32_t knownIdentifier(const std::string& id);

 protected:
  // Kind 6 with "ctask" leaves that task.
  bool _messagereceive(HKJobMessage& message) override;
  virtual bool _onReceived_Request_HTTP(const std::string& id, HKXHeader& header);
  virtual bool _onReceived_Request_TOVIK(const std::string& id, HKXHeader& header);
  // A response with `status` and an empty body, sent as an answer to `request`.
  bool _sendStatus(HKXHeader& request, uint64_t status);
  // Status 200 and the file, sent as an answer to `request`.
  bool _sendFile(const std::string& file, unsigned long size, HKXHeader& request);
  // `program` with the CGI environment of `script`, the request body on its
  // input and its output as the answer (status 200, CGI head lines).
  bool _runChildProgram(const std::string& program, const std::string& script, HKXHeader& request);

  std::mutex _lock;
  HKTransceiver* _transceiver = nullptr;  // _lock
  std::map<std::string, int32_t> _known;  // _lock
  std::string _baseDirectory;
  std::string _cgiPrefix = "cgi-bin/";
  std::string _cgiDirectory = "cgi-bin/";
  std::string _phpSuffix = ".php";
  std::string _phpProgram;
  HKFileService _files{std::string()};  // the base directory's servable files
  double _cgiTimeout = kHKCGIDefaultTimeoutSeconds;
  HKServerCallbackFunction _callback;
  std::map<std::string, std::string> _options;
  std::string _commandURL;
  std::string _sessionKey = "tovikid";
  std::string _commandKey = "tovikcommand";
  HKTovikApplication2* _application = nullptr;
};
