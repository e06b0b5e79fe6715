#include <toviktwo/devices/hkvariableconfiguration.h>

HKVariableConfiguration::~HKVariableConfiguration() = default;
