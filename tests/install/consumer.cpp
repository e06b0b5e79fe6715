// A program that uses the installed library through its umbrella header.
#include <toviktwo/toviktwo.h>

#include <iostream>

int main() {
  try {
    throw HKException("consumer ok", 1, "src");
  } catch (const HKException& e) {
    HKStringMap1 cols("a,b,c", ",", false);
    if (cols.size() != 3) return 1;
    std::cout << e.what() << " " << ReleaseNumber() << std::endl;
  }
  return 0;
}
