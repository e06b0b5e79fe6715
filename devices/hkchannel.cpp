#include <toviktwo/devices/hkchannel.h>

bool HKChannel::Get(double&, void*) { return false; }
bool HKChannel::Get(float&, void*) { return false; }
bool HKChannel::Get(std::string&, void*) { return false; }
bool HKChannel::Get(char&, void*) { return false; }
bool HKChannel::Get(unsigned char&, void*) { return false; }
bool HKChannel::Get(short&, void*) { return false; }
bool HKChannel::Get(unsigned short&, void*) { return false; }
bool HKChannel::Get(int&, void*) { return false; }
bool HKChannel::Get(unsigned int&, void*) { return false; }
bool HKChannel::Get(long&, void*) { return false; }
bool HKChannel::Get(unsigned long&, void*) { return false; }
bool HKChannel::Get(bool&, void*) { return false; }
bool HKChannel::Get(std::vector<double>&, void*) { return false; }
bool HKChannel::Get(std::vector<short>&, void*) { return false; }
bool HKChannel::Get(std::vector<int>&, void*) { return false; }
bool HKChannel::Get(std::vector<long>&, void*) { return false; }
bool HKChannel::Get(std::vector<unsigned short>&, void*) { return false; }
bool HKChannel::Get(std::vector<unsigned int>&, void*) { return false; }
bool HKChannel::Get(std::vector<unsigned long>&, void*) { return false; }
bool HKChannel::Get(std::vector<unsigned char>&, void*) { return false; }
bool HKChannel::Get(std::vector<bool>&, void*) { return false; }
