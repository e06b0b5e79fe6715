// The document form of the answer: kept apart so that the message heads do
// not need the document classes.
#include <sstream>

#include <toviktwo/documents/html/hkhtmldocument.h>
#include <toviktwo/transport/hkxheader.h>

void HKXResponseHeader::setHTTPResponse200(const HKHTML_Document2& document) {
  std::ostringstream os;
  document.print(os);
  setHTTPResponse200(os.str());
}
