// Variable addresses: equality without the type, and the connect message.
#include <toviktwo/devices/hkvarconfigaddress.h>

#include <gtest/gtest.h>

#include <memory>

namespace {

TEST(VarConfigAddress, AddressesDifferingOnlyInTypeAreEqual) {
  HKVarConfigAddress a("pump", "speed", 2, "plc", HK_DOUBLE), b("pump", "speed", 2, "plc", HK_INT32);
  EXPECT_TRUE(a == b);
}

TEST(VarConfigAddress, EachOfTheFourKeyPartsMakesADifference) {
  const HKVarConfigAddress base("pump", "speed", 2, "plc", HK_DOUBLE);
  EXPECT_FALSE(base == HKVarConfigAddress("pumps", "speed", 2, "plc", HK_DOUBLE));
  EXPECT_FALSE(base == HKVarConfigAddress("pump", "sped", 2, "plc", HK_DOUBLE));
  EXPECT_FALSE(base == HKVarConfigAddress("pump", "speed", 3, "plc", HK_DOUBLE));
  EXPECT_FALSE(base == HKVarConfigAddress("pump", "speed", 2, "plc2", HK_DOUBLE));
}

TEST(VarConfigAddress, ConnectMessageCarriesEveryFieldAndTheNumber) {
  HKVarConfigAddress a("pump", "speed", 2, "plc", HK_UINT16_ARRAY);
  std::unique_ptr<HKDriverConnectMessage> m(a.GetConnectMessage("17"));
  EXPECT_EQ(m->GetMessageTypeID(), HK_MSG_DRIVER_CONNECT);
  EXPECT_EQ(m->_address1, "pump");
  EXPECT_EQ(m->_address2, "speed");
  EXPECT_EQ(m->_mode, 2);
  EXPECT_EQ(m->_driver, "plc");
  EXPECT_EQ(m->_refID, "17");
  EXPECT_EQ(m->GetRefID(), "17");
  EXPECT_EQ(m->_vartype, HK_UINT16_ARRAY);
}

TEST(VarConfigAddress, DefaultAddressIsEmptyWithTypeNone) {
  HKVarConfigAddress a;
  EXPECT_EQ(a._mode, 0);
  EXPECT_EQ(a._vartype, HK_NONE);
  EXPECT_TRUE(a == HKVarConfigAddress());
}

}  // namespace
