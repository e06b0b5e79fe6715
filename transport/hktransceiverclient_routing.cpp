// The routing half of HKTransceiverClient: what a complete request means.
// Kept apart from the transport half (connect, send, dispatch), which does
// not need the application, the file service or the child programs.
//
// Order for HTTP: the application's sessions and pages (`_virtualPage`),
// then stored pages, files, PHP pages and CGI programs (`_cgiOrPage`), and
// last the 404 page. A response the application leaves at status 500 counts
// as not handled and falls through.
#include <toviktwo/transport/hktransceiverclient.h>

#include <ostream>

#include <toviktwo/application/hkhtmlkontextn.h>
#include <toviktwo/application/hktovikapplication2.h>
#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/transport/hkcgi.h>
#include <toviktwo/transport/hkerrormsg404.h>
#include <toviktwo/transport/hkxheader.h>

namespace {

// A response that the application left at this status was not handled.
constexpr uint64_t kNotHandled = 500;
constexpr uint64_t kStatusOk = 200;
constexpr uint64_t kStatusNotFound = 404;
// Job state of a header that is ready to go out.
constexpr int kReadyToSend = 6;
// The command a new context gets with its first request.
constexpr const char* kNewContextCommand = "&new";

bool isWebProtocol(HKTovikProtocols_t p) { return p == HK_PROTO_HTTP || p == HK_PROTO_HTTPS; }

bool endsWith(const std::string& s, const std::string& tail) {
  return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

}  // namespace

// ---------------------------------------------------------------- sessions and pages

bool HKTransceiverClient::_virtualPage(const std::string&, HKXHeader& header) {
  if (!isWebProtocol(header.getProtocol()) || _application == nullptr) return false;
  header.parseContent2();
  std::string session;
  const auto found = header.allBlocks().find(_sessionKey);
  if (found != header.allBlocks().end() && found->second != nullptr) session = found->second->asString();
  std::shared_ptr<HKXResponseHeader> response = header.createResponseHeader();
  if (session.empty()) {
    if (_commandURL.empty() || header.getURLPath() != _commandURL) return false;
    HKHTMLKontextN* context = _application->createNewContext(_sessionKey);
    if (context == nullptr) return false;
    context->manageRequest(header, *response, kNewContextCommand);
  } else {
    std::string command;
    header.getFormString(_commandKey, command);
    _application->invokeContext(session, header, *response, command);
  }
  if (response->statusCode() == kNotHandled) return false;
  response->setJobState(kReadyToSend);
  _sendAnswer(header, response);
  return true;
}

// ---------------------------------------------------------------- files, PHP, CGI

bool HKTransceiverClient::_cgiOrPage(const std::string& id, HKXHeader& header) {
  if (!_files.enabled() || header.getHeaderType() != HK_HEADER_REQUEST) return false;
  std::string path = header.getURLPath();
  unsigned long size = 0;
  if (path == "/") {
    const std::string php = _files.servableFile("index.php", &size);
    if (!php.empty()) return _phpcall(php, id, header);
    const std::string html = _files.servableFile("index.html", &size);
    return !html.empty() && _sendFile(html, size, header);
  }
  path.erase(0, 1);
  // Dot files, and paths that climb upward from the start, are refused here;
  // only this first position is tested (the file service checks the rest).
  if (path.empty() || path[0] == '.') return false;
  if (_application != nullptr && _application->isPreloadContent(path, header))
    return _preloadContent(path, id, header);
  if (path.compare(0, _cgiPrefix.size(), _cgiPrefix) != 0) {
    const std::string file = _files.servableFile(path, &size);
    if (file.empty()) return false;
    if (path.size() > _phpSuffix.size() && endsWith(path, _phpSuffix)) return _phpcall(file, id, header);
    return _sendFile(file, size, header);
  }
  const std::string program = _files.servableFile(_cgiDirectory + path.substr(_cgiPrefix.size()), &size);
  return !program.empty() && _cgicall(program, id, header);
}

bool HKTransceiverClient::_sendFile(const std::string& file, unsigned long size, HKXHeader& header) {
  std::shared_ptr<HKXResponseHeader> response = header.createResponseHeader();
  response->setStatusCode(kStatusOk);
  response->setFilename(file, size);  // no Content-Type: the browser decides
  response->setJobState(kReadyToSend);
  _sendAnswer(header, response);
  return true;
}

bool HKTransceiverClient::_preloadContent(const std::string& path, const std::string&, HKXHeader& header) {
  if (_application == nullptr) return false;
  std::shared_ptr<HKXResponseHeader> response = header.createResponseHeader();
  _application->preloadContent(path, *response);
  response->setJobState(kReadyToSend);
  _sendAnswer(header, response);
  return true;
}

bool HKTransceiverClient::_phpcall(const std::string& script, const std::string&, HKXHeader& header) {
  return _runChildProgram(_phpProgram, script, header);
}

bool HKTransceiverClient::_cgicall(const std::string& script, const std::string&, HKXHeader& header) {
  return _runChildProgram(script, script, header);
}

bool HKTransceiverClient::_fillCGICALLVARS(const std::string& script, std::map<std::string, std::string>& env,
                                           HKXHeader& header) {
  return HKFillCGIVariables(script, env, header);
}

bool HKTransceiverClient::_runChildProgram(const std::string& program, const std::string& script,
                                           HKXHeader& header) {
  std::map<std::string, std::string> env = {{"REDIRECT_STATUS", "CGI"}, {"SCRIPT_FILENAME", script}};
  if (!TryOpenFile(script, nullptr)) return false;
  if (!_fillCGICALLVARS(script, env, header)) return false;
  std::shared_ptr<HKXResponseHeader> response = header.createResponseHeader();
  HKcgi_bin_call2(program, env, *header.getDataBuffer(), *response->getDataBuffer(), _cgiTimeout);
  // Always 200: a "Status:" line of the program travels among its head lines.
  response->setStatusCode(kStatusOk);
  response->setCGIindicator();
  response->setJobState(kReadyToSend);
  _sendAnswer(header, response);
  return true;
}

// ---------------------------------------------------------------- the 404 page

bool HKTransceiverClient::_notFound(const std::string&, HKXHeader& header) {
  std::shared_ptr<HKXResponseHeader> response = header.createResponseHeader();
  response->setStatusCode(kStatusNotFound);
  std::ostream body(response->getDataBuffer());
  HKHTML_ErrorMsg404(kHK404Title, kHK404Message, kHK404LinkTarget, kHK404LinkText).print(body);
  response->setJobState(kReadyToSend);
  _sendAnswer(header, response);
  return true;
}
