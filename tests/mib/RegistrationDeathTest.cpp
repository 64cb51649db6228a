// A module that cannot serve its tables must not let the agent start: in every build it says why and ends the process.
#include <gtest/gtest.h>

#include "Device.h"
#include "LibrarySpy.h"
#include "SnmpAgent.h"
#include "Tables.h"
#include "Zarn/StateDatabase.h"

namespace {

using namespace test;

class RegistrationDeathTest : public testing::Test {
 protected:
  RegistrationDeathTest() { LibrarySpy::instance().reset(); }

  SnmpAgent& agent_ = SnmpAgent::instance();
  Device device_;
};

TEST_F(RegistrationDeathTest, AMissingContainerStopsTheProcess) {
  Zarn::StateDatabase::instance().entityDel("snmp/ptp/ptpmib");
  for (const Table& t : tables()) {
    EXPECT_DEATH(t.initialize(SnmpUtil::getSnmpConfig(), ""),
                 "^Can not getEntityRelative\\( snmp/ptp/ptpmib \\) for table " + t.name +
                     "\\. Is this path correct\\?\n.*Assertion `e' failed\\.\n");
  }
}

TEST_F(RegistrationDeathTest, AnotherEntityInTheContainersPlaceStopsTheProcess) {
  Zarn::StateDatabase::instance().entityIs("snmp/ptp/ptpmib", device_.status);
  EXPECT_DEATH(init_ptpbaseMIB(""),
               "^snmp/ptp/ptpmib does not appear to be of type PtpSnmp::PtpMib\\.\n.*Assertion `ptr' failed\\.\n");
}

TEST_F(RegistrationDeathTest, ATableThatTheLibraryRejectsStopsTheProcess) {
  LibrarySpy::instance().failRegistration = true;
  EXPECT_DEATH(init_ptpbaseMIB(""), "Assertion `result == MIB_REGISTERED_OK' failed\\.\n");
}

TEST_F(RegistrationDeathTest, ASerializeHandlerThatTheLibraryRejectsStopsTheProcess) {
  LibrarySpy::instance().failInjection = true;
  EXPECT_DEATH(init_ptpbaseMIB(""), "Assertion `injected == SNMPERR_SUCCESS' failed\\.\n");
}

TEST_F(RegistrationDeathTest, RegisteringAContextTwiceStopsTheProcess) {
  init_ptpbaseMIB("");
  EXPECT_DEATH(init_ptpbaseMIB(""), "Assertion `result == MIB_REGISTERED_OK' failed\\.\n");
  unregister_ptpbaseMIB("");
}

}  // namespace
