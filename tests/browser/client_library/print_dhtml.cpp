// Prints the client script library (HKGetDHTML_JS) to standard output, so
// that the browser test loads exactly the text the library hands out.
#include <iostream>

#include <toviktwo/application/hkdhtml.h>

int main() {
  std::cout << HKGetDHTML_JS();
  return std::cout.good() ? 0 : 1;
}
