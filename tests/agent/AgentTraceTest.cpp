// The agent's trace lines, to the letter and in order. Operators search for these texts: a changed blank is a bug.
#include "AgentHarness.h"

namespace test {
namespace {

const std::string enter = "PtpSnmp/8 Enter ";
const std::string leave = "PtpSnmp/8 Exit ";
const std::string line = "PtpSnmp/8 ";
const std::string initialized = "void PtpSnmp::Agent::PtpSnmpSm::handleInitialized()";
const std::string followed = "void PtpSnmp::Agent::PtpSnmpSm::handleDefaultDS()";
const std::string ptp = "void PtpSnmp::Agent::PtpSnmpSm::handlePtpTablesIndex()";
const std::string systemDomain = "void PtpSnmp::Agent::PtpSnmpSm::handleSystemDomainTableIndex()";
const std::string systemTable = "void PtpSnmp::Agent::PtpSnmpSm::handleSystemTableIndex()";
const std::string port = "void PtpSnmp::Agent::PtpSnmpSm::handlePortTablesIndex(const Ptp::PortDSKey&)";
const std::string ports = "void PtpSnmp::Agent::PtpSnmpSm::handlePortTablesIndexColl()";

const std::string ptpKey0 = "PtpSnmp::PtpTableKey(domainIndex=0,clockTypeIndex=transparentClock,instanceIndex=1)";
const std::string ptpKey9 = "PtpSnmp::PtpTableKey(domainIndex=9,clockTypeIndex=transparentClock,instanceIndex=1)";
const std::string transKey0 = "PtpSnmp::TransDefaultDSTableKey(domainIndex=0,instanceIndex=1)";
const std::string transKey9 = "PtpSnmp::TransDefaultDSTableKey(domainIndex=9,instanceIndex=1)";
const std::string systemKey0 = "PtpSnmp::SystemTableKey(ptpDomainIndex=0,ptpInstanceIndex=1)";
const std::string systemKey9 = "PtpSnmp::SystemTableKey(ptpDomainIndex=9,ptpInstanceIndex=1)";
const std::string portKey0 =
    "PtpSnmp::PortTableKey(domainIndex=0,clockTypeIndex=transparentClock,instanceIndex=1,portNumberIndex=3)";
const std::string portKey9 =
    "PtpSnmp::PortTableKey(domainIndex=9,clockTypeIndex=transparentClock,instanceIndex=1,portNumberIndex=3)";
const std::string portTransKey0 = "PtpSnmp::PortTransDSTableKey(domainIndex=0,instanceIndex=1,portNumberIndex=3)";
const std::string portTransKey9 = "PtpSnmp::PortTransDSTableKey(domainIndex=9,instanceIndex=1,portNumberIndex=3)";
const std::string key1 = "001122.fffe.334455-1";

Lines operator+(Lines left, const Lines& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// A port that is filed as number 3 in domain 0, as it is added.
Lines portAdded(const Lines& rows) {
  return Lines{enter + port + " with key: " + key1,
               line + port + " PortDS with key " + key1 + " was added, or modified"} +
         rows + Lines{leave + port};
}

// Everything that a first default data set of a transparent clock causes: mode 4, domain 0, one port.
Lines firstBuild() {
  return Lines{enter + ptp + ": Deleting any current entries...",
               line + ptp + " Adding PtpTableEntry with key: " + ptpKey0,
               "+ " + ptpKey0,
               line + ptp + "Adding transDefaultDSTableEntry with key: " + transKey0,
               "+ " + transKey0,
               leave + ptp,
               enter + ports} +
         portAdded({"+ " + portKey0, "+ " + portTransKey0}) +
         Lines{leave + ports,
               enter + systemDomain + ": Deleting any current entries...",
               line + systemDomain + " Adding systemDomainTableEntry with key: transparentClock",
               "+ transparentClock",
               leave + systemDomain,
               enter + systemTable + ": Deleting any current entries...",
               line + systemTable + " Adding systemTableEntry with key: " + systemKey0,
               "+ " + systemKey0,
               leave + systemTable};
}

Lines ptpRebuilt(const std::string& oldKey, const std::string& oldTrans, const std::string& key,
                 const std::string& trans) {
  return {enter + ptp + ": Deleting any current entries...",
          line + ptp + " Deleting ptpTable entry w/ key: " + oldKey,
          "- " + oldKey,
          line + ptp + " Deleting transDefaultDSTable entry w/ key: " + oldTrans,
          "- " + oldTrans,
          line + ptp + " Adding PtpTableEntry with key: " + key,
          "+ " + key,
          line + ptp + "Adding transDefaultDSTableEntry with key: " + trans,
          "+ " + trans,
          leave + ptp};
}
Lines portsRebuilt(const std::string& oldKey, const std::string& oldTrans, const std::string& key,
                   const std::string& trans) {
  return Lines{enter + ports, line + ports + " Deleting portTable entry w/ key: " + oldKey, "- " + oldKey,
               line + ports + " Deleting portTransDSTable entry w/ key: " + oldTrans, "- " + oldTrans} +
         portAdded({"+ " + key, "+ " + trans}) + Lines{leave + ports};
}
Lines systemRebuilt(const std::string& oldKey, const std::string& key) {
  return {enter + systemTable + ": Deleting any current entries...",
          line + systemTable + " Deleting systemTable entry w/ key: " + oldKey,
          "- " + oldKey,
          line + systemTable + " Adding systemTableEntry with key: " + key,
          "+ " + key,
          leave + systemTable};
}
Lines systemDomainRebuilt() {
  return {enter + systemDomain + ": Deleting any current entries...",
          line + systemDomain + " Deleting systemDomainTable entry w/ key: transparentClock",
          "- transparentClock",
          line + systemDomain + " Adding systemDomainTableEntry with key: transparentClock",
          "+ transparentClock",
          leave + systemDomain};
}

struct AgentTrace : testing::Test {
  AgentTrace() { device.status->portDSIs(portKey(1), portDS(3)); }
  void startTransparent() {
    device.status->defaultDSIs(defaultDS(4));
    device.start();
  }
  std::string held() { return text(Kestor::shown(device.status->defaultDS())); }

  AgentHarness device{AgentHarness::Traces::on};
};

TEST_F(AgentTrace, AStartWithoutADefaultDataSetTracesNull) {
  device.root->agentIs(device.status, device.mib, device.ifMib);
  EXPECT_EQ(device.take(), (Lines{enter + initialized + " defaultDS: null, ptpStatus()->defaultDS(): null",
                                  enter + followed + " ptpStatus->defaultDS: null",
                                  leave + followed + " defaultDS: null", leave + initialized}));
}

TEST_F(AgentTrace, AStartBuildsEveryTableTwice) {
  device.status->defaultDSIs(defaultDS(4));
  device.root->agentIs(device.status, device.mib, device.ifMib);
  EXPECT_EQ(device.take(), (Lines{enter + initialized + " defaultDS: null, ptpStatus()->defaultDS(): " + held(),
                                  enter + followed + " ptpStatus->defaultDS: " + held()} +
                            firstBuild() + Lines{leave + followed + " defaultDS: " + held()} +
                            ptpRebuilt(ptpKey0, transKey0, ptpKey0, transKey0) +
                            portsRebuilt(portKey0, portTransKey0, portKey0, portTransKey0) + systemDomainRebuilt() +
                            systemRebuilt(systemKey0, systemKey0) + Lines{leave + initialized}));
}

TEST_F(AgentTrace, TheFirstDefaultDataSetBuildsEveryTableOnce) {
  device.start();
  device.status->defaultDSIs(defaultDS(4));
  EXPECT_EQ(device.take(), (Lines{enter + followed + " ptpStatus->defaultDS: " + held()} + firstBuild() +
                            Lines{leave + followed + " defaultDS: " + held()}));
  device.status->publisher().publish(Ptp::Status::defaultDSAttribute);
  EXPECT_EQ(device.take(),
            (Lines{enter + followed + " ptpStatus->defaultDS: " + held(), leave + followed + " defaultDS: " + held()}));
  device.status->defaultDSIs(nullptr);
  EXPECT_EQ(device.take(),
            (Lines{enter + followed + " ptpStatus->defaultDS: null", leave + followed + " defaultDS: null"}));
}

TEST_F(AgentTrace, ADomainChangeTracesEachRowThatGoesAndComes) {
  startTransparent();
  device.status->defaultDS()->domainNumberIs(9);
  EXPECT_EQ(device.take(), ptpRebuilt(ptpKey0, transKey0, ptpKey9, transKey9) +
                               portsRebuilt(portKey0, portTransKey0, portKey9, portTransKey9) +
                               systemRebuilt(systemKey0, systemKey9));
}

TEST_F(AgentTrace, AnUnindexedModeTracesTheDeletionsAndNothingMore) {
  startTransparent();
  device.status->defaultDS()->clockModeIs(static_cast<Ptp::PtpMode>(6));
  EXPECT_EQ(device.take(), (Lines{enter + ptp + ": Deleting any current entries...",
                                  line + ptp + " Deleting ptpTable entry w/ key: " + ptpKey0,
                                  "- " + ptpKey0,
                                  line + ptp + " Deleting transDefaultDSTable entry w/ key: " + transKey0,
                                  "- " + transKey0,
                                  leave + ptp,
                                  enter + ports,
                                  line + ports + " Deleting portTable entry w/ key: " + portKey0,
                                  "- " + portKey0,
                                  line + ports + " Deleting portTransDSTable entry w/ key: " + portTransKey0,
                                  "- " + portTransKey0,
                                  enter + port + " with key: " + key1,
                                  leave + port + ", unsupported clockType",
                                  leave + ports,
                                  enter + systemDomain + ": Deleting any current entries...",
                                  line + systemDomain + " Deleting systemDomainTable entry w/ key: transparentClock",
                                  "- transparentClock",
                                  leave + systemDomain,
                                  enter + systemTable + ": Deleting any current entries...",
                                  line + systemTable + " Deleting systemTable entry w/ key: " + systemKey0,
                                  "- " + systemKey0,
                                  leave + systemTable}));
}

TEST_F(AgentTrace, ARemovedPortTracesItsNumberAndBothKeys) {
  startTransparent();
  device.status->portDSDel(portKey(1));
  EXPECT_EQ(device.take(),
            (Lines{enter + port + " with key: " + key1, line + port + " PortDS with key " + key1 + " was deleted",
                   "- " + portKey0, line + port + " For this PortDSKey, portNumber is: 3, PortTableKey is: " + portKey0,
                   "- " + portTransKey0, line + port + " PortTransDSTableKey is: " + portTransKey0, leave + port}));
}

TEST_F(AgentTrace, AnUnknownPortTracesNumberZero) {
  startTransparent();
  device.machine().handlePortTablesIndex(portKey(77));
  const std::string key77 = "001122.fffe.334455-77";
  EXPECT_EQ(device.take(),
            (Lines{enter + port + " with key: " + key77, line + port + " PortDS with key " + key77 + " was deleted",
                   line + port + " For this PortDSKey, portNumber is: 0, PortTableKey is: " +
                       text(PortTableKey(0, ClockType::transparentClock, 1, 0)),
                   line + port + " PortTransDSTableKey is: " + text(PortTransDSTableKey(0, 1, 0)), leave + port}));
}

TEST_F(AgentTrace, NothingIsTracedWhereNothingIsHeard) {
  startTransparent();
  device.machine().hasNotificationActiveIs(false);
  device.machine().hasNotificationActiveIs(true);
  device.status->currentDSIs(Kestor::make<Ptp::CurrentDS>(Ptp::CurrentDSValues{}));
  device.status->defaultDS()->publisher().publish(265);
  device.root->agentDel();
  EXPECT_THAT(device.take(), IsEmpty());
}

}  // namespace
}  // namespace test
