// A program with its own xml/ and application/ folders, holding headers of
// the same file names as the library's. Its own folder comes first on the
// include path, so any library header reached by a bare "xml/..." name would
// pick up the consumer's file and fail to compile. Both sets must work.
#include "application/hktovikapplication2.h"
#include "xml/hkxmlelement.h"

#include <toviktwo/toviktwo.h>

#include <iostream>

#if !defined(CLASH_CONSUMER_OWN_XML) || !defined(CLASH_CONSUMER_OWN_APPLICATION)
#error "the consumer's own headers were not the ones included"
#endif

int main() {
  HKXMLGenericElement element("item", false);
  std::cout << "consumer ok " << consumerOwnXml() + consumerOwnApplication() << " "
            << element.GetTypeName() << std::endl;
  return 0;
}
