// An answer made from a document.
#include <gtest/gtest.h>

#include "doc_test_util.h"

TEST(ResponseDocument, SetHTTPResponse200PrintsTheDocument) {
  HKHTML_Document2 doc("Answer");
  doc.p()->PushBackChildElement(new HKHTML_text2("hello"));
  HKXResponseHeader response(HK_SCHEME_ANSWER, true, HK_PROTO_HTTP);
  response.setHTTPResponse200(doc);
  EXPECT_EQ(response.statusCode(), 200u);
  EXPECT_EQ(static_cast<int>(response.getState()), 6);
  HKStringBuf* body = response.getDataBuffer();
  ASSERT_NE(body, nullptr);
  EXPECT_EQ(body->str(), doctest_util::Printed(doc));
  EXPECT_NE(body->str().find("<p>hello</p>"), std::string::npos);
}
