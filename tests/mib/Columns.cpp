#include "Columns.h"

namespace test {
namespace {

struct Kind {
  const char* converter;
  u_char type;
};

constexpr Kind s32{"S32ToAsnInteger", ASN_INTEGER};
constexpr Kind u32{"U32ToAsnUnsigned", ASN_GAUGE};
constexpr Kind counter32{"U32ToAsnUnsigned", ASN_COUNTER};
constexpr Kind boolean{"BoolToAsnInteger", ASN_INTEGER};
constexpr Kind counter64{"U64ToCounter64", ASN_COUNTER64};
constexpr Kind text{"StringToAsnOctetString", ASN_OCTET_STR};
constexpr Kind timeInterval{"PtpTimeIntervalToAsnOctetString", ASN_OCTET_STR};
constexpr Kind clockIdentity{"ClockIdentityToAsnOctetString", ASN_OCTET_STR};
constexpr Kind portIdentity{"PortIdentityToAsnOctetString", ASN_OCTET_STR};
constexpr Kind modeAsDelay{"PtpModeAsDelayToAsnInteger", ASN_INTEGER};
constexpr Kind role{"PtpRoleToAsnInteger", ASN_INTEGER};
constexpr Kind transport{"AddressTypeToAsnOid", ASN_OBJECT_ID};
constexpr Kind delayMech{"DelayMechToAsnInteger", ASN_INTEGER};
constexpr Kind portState{"PortStateToAsnInteger", ASN_INTEGER};
constexpr Kind rxTxMode{"RxTxModeToAsnInteger", ASN_INTEGER};

struct Line {
  unsigned number;
  const char* name;
  const char* attribute;
  Kind kind;
};

struct TableColumns {
  const char* table;
  std::vector<Line> lines;
};

std::vector<TableColumns> listed() {
  return {
      {"ptpbaseSystemTable",
       {
           {3, "ptpDomainClockPortsTotal", "ptpDomainClockPortsTotal", u32},
       }},
      {"ptpbaseSystemDomainTable",
       {
           {2, "ptpbaseSystemDomainTotals", "totals", u32},
       }},
      {"ptpbaseClockCurrentDSTable",
       {
           {4, "ptpbaseClockCurrentDSStepsRemoved", "stepsRemoved", u32},
           {5, "ptpbaseClockCurrentDSOffsetFromMaster", "offsetFromMaster", timeInterval},
           {6, "ptpbaseClockCurrentDSMeanPathDelay", "meanPathDelay", timeInterval},
       }},
      {"ptpbaseClockParentDSTable",
       {
           {4, "ptpbaseClockParentDSParentPortIdentity", "parentPortIdentity", portIdentity},
           {5, "ptpbaseClockParentDSParentStats", "parentStats", boolean},
           {6, "ptpbaseClockParentDSOffset", "offset", s32},
           {7, "ptpbaseClockParentDSClockPhChRate", "clockPhChRate", s32},
           {8, "ptpbaseClockParentDSGMClockIdentity", "gmClockIdentity", clockIdentity},
           {9, "ptpbaseClockParentDSGMClockPriority1", "gmClockPriority1", u32},
           {10, "ptpbaseClockParentDSGMClockPriority2", "gmClockPriority2", u32},
           {11, "ptpbaseClockParentDSGMClockQualityClass", "gmClockQualityClass", s32},
           {12, "ptpbaseClockParentDSGMClockQualityAccuracy", "gmClockQualityAccuracy", s32},
           {13, "ptpbaseClockParentDSGMClockQualityOffset", "gmClockQualityOffset", u32},
       }},
      {"ptpbaseClockDefaultDSTable",
       {
           {4, "ptpbaseClockDefaultDSTwoStepFlag", "twoStepFlag", boolean},
           {5, "ptpbaseClockDefaultDSClockIdentity", "clockIdentity", clockIdentity},
           {6, "ptpbaseClockDefaultDSPriority1", "priority1", u32},
           {7, "ptpbaseClockDefaultDSPriority2", "priority2", u32},
           {8, "ptpbaseClockDefaultDSSlaveOnly", "slaveOnly", boolean},
           {9, "ptpbaseClockDefaultDSQualityClass", "qualityClass", s32},
           {10, "ptpbaseClockDefaultDSQualityAccuracy", "qualityAccuracy", s32},
           {11, "ptpbaseClockDefaultDSQualityOffset", "qualityOffset", s32},
       }},
      {"ptpbaseClockRunningTable",
       {
           {5, "ptpbaseClockRunningPacketsSent", "packetsSent", counter64},
           {6, "ptpbaseClockRunningPacketsReceived", "packetsReceived", counter64},
       }},
      {"ptpbaseClockTimePropertiesDSTable",
       {
           {4, "ptpbaseClockTimePropertiesDSCurrentUTCOffsetValid", "currentUTCOffsetValid", boolean},
           {5, "ptpbaseClockTimePropertiesDSCurrentUTCOffset", "currentUTCOffset", s32},
           {6, "ptpbaseClockTimePropertiesDSLeap59", "leap59", boolean},
           {7, "ptpbaseClockTimePropertiesDSLeap61", "leap61", boolean},
           {8, "ptpbaseClockTimePropertiesDSTimeTraceable", "timeTraceable", boolean},
           {9, "ptpbaseClockTimePropertiesDSFreqTraceable", "freqTraceable", boolean},
           {10, "ptpbaseClockTimePropertiesDSPTPTimescale", "ptpTimescale", boolean},
           {11, "ptpbaseClockTimePropertiesDSSource", "source", s32},
       }},
      {"ptpbaseClockTransDefaultDSTable",
       {
           {3, "ptpbaseClockTransDefaultDSClockIdentity", "clockIdentity", clockIdentity},
           {4, "ptpbaseClockTransDefaultDSNumOfPorts", "numOfPorts", counter32},
           {5, "ptpbaseClockTransDefaultDSDelay", "modeAsDelay", modeAsDelay},
           {6, "ptpbaseClockTransDefaultDSPrimaryDomain", "primaryDomain", u32},
       }},
      {"ptpbaseClockPortTable",
       {
           {5, "ptpbaseClockPortName", "name", text},
           {6, "ptpbaseClockPortRole", "role", role},
           {7, "ptpbaseClockPortSyncTwoStep", "syncTwoStep", boolean},
           {10, "ptpbaseClockPortNumOfAssociatedPorts", "numOfAssociatedPorts", u32},
       }},
      {"ptpbaseClockPortDSTable",
       {
           {5, "ptpbaseClockPortDSName", "name", text},
           {6, "ptpbaseClockPortDSPortIdentity", "portIdentity", portIdentity},
           {7, "ptpbaseClockPortDSlogAnnouncementInterval", "logAnnouncementInterval", s32},
           {8, "ptpbaseClockPortDSAnnounceRctTimeout", "announceRctTimeout", s32},
           {9, "ptpbaseClockPortDSlogSyncInterval", "logSyncInterval", s32},
           {10, "ptpbaseClockPortDSMinDelayReqInterval", "minDelayReqInterval", s32},
           {11, "ptpbaseClockPortDSPeerDelayReqInterval", "peerDelayReqInterval", s32},
           {12, "ptpbaseClockPortDSDelayMech", "delayMech", delayMech},
           {13, "ptpbaseClockPortDSPeerMeanPathDelay", "peerMeanPathDelay", timeInterval},
           {14, "ptpbaseClockPortDSGrantDuration", "", u32},
           {15, "ptpbaseClockPortDSPTPVersion", "ptpVersion", u32},
       }},
      {"ptpbaseClockPortRunningTable",
       {
           {5, "ptpbaseClockPortRunningName", "name", text},
           {6, "ptpbaseClockPortRunningState", "state", portState},
           {7, "ptpbaseClockPortRunningRole", "role", role},
           {8, "ptpbaseClockPortRunningInterfaceIndex", "interfaceIndex", s32},
           {9, "ptpbaseClockPortRunningTransport", "transport", transport},
           {10, "ptpbaseClockPortRunningEncapsulationType", "encapsulationType", transport},
           {11, "ptpbaseClockPortRunningTxMode", "txMode", rxTxMode},
           {12, "ptpbaseClockPortRunningRxMode", "rxMode", rxTxMode},
           {13, "ptpbaseClockPortRunningPacketsReceived", "packetsReceived", counter64},
           {14, "ptpbaseClockPortRunningPacketsSent", "packetsSent", counter64},
       }},
      {"ptpbaseClockPortTransDSTable",
       {
           {4, "ptpbaseClockPortTransDSPortIdentity", "portIdentity", clockIdentity},
           {5, "ptpbaseClockPortTransDSlogMinPdelayReqInt", "logMinPdelayReqInt", s32},
           {6, "ptpbaseClockPortTransDSFaultyFlag", "faultyFlag", boolean},
           {7, "ptpbaseClockPortTransDSPeerMeanPathDelay", "peerMeanPathDelay", timeInterval},
       }},
  };
}

}  // namespace

const std::vector<Column>& columns() {
  static const std::vector<Column> all = [] {
    std::vector<Column> list;
    for (const auto& [table, lines] : listed()) {
      for (const auto& [number, name, attribute, kind] : lines) {
        list.push_back({table, number, name, attribute, kind.converter, kind.type});
      }
    }
    return list;
  }();
  return all;
}

}  // namespace test
