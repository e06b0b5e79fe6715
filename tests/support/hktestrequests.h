// Requests for tests, built and parsed as the server would receive them, so
// that session, widget and update code can be driven without a server.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <toviktwo/transport/hkxheader.h>

namespace hktest {

using FormFields = std::vector<std::pair<std::string, std::string>>;

inline const std::string kBrowserBoundary = "----WebKitFormBoundaryq3ZLx7tPHhLbd0Wr";

// A multipart/form-data body as a browser sends a FormData object.
inline std::string MultipartBody(const FormFields& fields) {
  std::string body;
  for (const auto& [name, value] : fields)
    body += "--" + kBrowserBoundary + "\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" +
            value + "\r\n";
  return body + "--" + kBrowserBoundary + "--\r\n";
}

// Reads the request text into a server-side header and parses its content;
// null when the text is not one complete request.
inline std::unique_ptr<HKXHeader> ParsedRequest(const std::string& text) {
  auto header = std::make_unique<HKXHeader>(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  header->getDataBuffer()->stringput(text);
  if (header->parseInputData2([](HKXHeader&) { return true; }) != 2) return nullptr;
  header->parseContent2();
  return header;
}

// A POST of the fields to path, multipart as the widget form and the update
// script send it.
inline std::unique_ptr<HKXHeader> FormPost(const std::string& path, const FormFields& fields) {
  const std::string body = MultipartBody(fields);
  return ParsedRequest("POST " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" +
                       "Content-Type: multipart/form-data; boundary=" + kBrowserBoundary +
                       "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
}

// A GET of path (with its query, if any).
inline std::unique_ptr<HKXHeader> Get(const std::string& pathAndQuery) {
  return ParsedRequest("GET " + pathAndQuery + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
}

// The widget form as the page's script posts it after a click.
inline std::unique_ptr<HKXHeader> WidgetClick(const std::string& tovikid, const std::string& element,
                                              const std::string& action = "onclick",
                                              const std::string& param1 = "none") {
  return FormPost("/tovikwidget.handler", {{"tovikid", tovikid},
                                           {"tovikaction", action},
                                           {"tovikactionelement", element},
                                           {"tovikactionparam1", param1}});
}

// The update script's request for news under a reference.
inline std::unique_ptr<HKXHeader> UpdatePoll(const std::string& tovikid, const std::string& reference) {
  return FormPost("/", {{"tovikcommand", "lurvoupdate"}, {"reference", reference}, {"tovikid", tovikid}});
}

// The body of an answer as text.
inline std::string Body(HKXResponseHeader& response) {
  HKStringBuf* data = response.getDataBuffer();
  return data == nullptr ? std::string() : data->str();
}

}  // namespace hktest
