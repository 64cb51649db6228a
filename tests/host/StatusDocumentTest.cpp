#include "StatusDocument.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <limits>
#include <set>
#include <sstream>
#include <string>

namespace host {
namespace {

using Scaled = Ptp::TimeInterval;

StatusSnapshot read(std::string_view text) { return snapshotFromDocument(parseJson(text)); }

std::string refusal(std::string_view text) {
  try {
    read(text);
  } catch (const DocumentError& error) {
    return error.what();
  }
  return "accepted";
}

// A document with one field, and what becomes of it.
std::string defaultDS(std::string_view member) {
  return fmt::format(R"({{"defaultDS":{{"clockIdentity":"001122.fffe.334455","clockMode":1,{}}}}})", member);
}
std::string port(std::string_view members) {
  return fmt::format(R"({{"ports":{{"001122.fffe.334455-1":{{{}}}}}}})", members);
}
const PortSnapshot& onlyPort(const StatusSnapshot& snapshot) { return snapshot.ports.begin()->second; }
Scaled offset(std::string_view nanoseconds) {
  return read(fmt::format(R"({{"currentDS":{{"offsetFromMaster":{}}}}})", nanoseconds)).currentDS->offsetFromMaster;
}
std::string offsetRefusal(std::string_view nanoseconds) {
  return refusal(fmt::format(R"({{"currentDS":{{"offsetFromMaster":{}}}}})", nanoseconds));
}

// The exact decimal form: sixteen places hold any multiple of 2^-16.
std::string decimal(Scaled scaled) {
  const bool negative = scaled < 0;
  const auto magnitude = negative ? 0 - static_cast<std::uint64_t>(scaled) : static_cast<std::uint64_t>(scaled);
  const std::uint64_t fraction = (magnitude & 0xffff) * 152587890625;  // 10^16 / 2^16
  return fmt::format("{}{}.{:016}", negative ? "-" : "", magnitude >> 16, fraction);
}

TEST(StatusDocument, AnEmptyDocumentIsNoService) { EXPECT_EQ(read("{}"), StatusSnapshot()); }

TEST(StatusDocument, AnAbsentFieldHasItsDefault) {
  const StatusSnapshot snapshot = read(
      R"({"defaultDS":{"clockIdentity":"001122.fffe.334455","clockMode":"boundary"},"currentDS":{},"parentDS":{},
               "timePropertiesDS":{},"mibData":{},"interfaces":{}})");
  Ptp::DefaultDSValues expected;
  expected.clockIdentity = Ptp::ClockIdentity("001122.fffe.334455");
  expected.clockMode = Ptp::PtpMode::boundary;
  EXPECT_EQ(snapshot.defaultDS, expected);
  EXPECT_EQ(snapshot.currentDS, Ptp::CurrentDSValues());
  EXPECT_EQ(snapshot.parentDS, Ptp::ParentDSValues());
  EXPECT_EQ(snapshot.timePropertiesDS, Ptp::TimePropertiesDSValues());
  EXPECT_EQ(snapshot.mibData, MibDataSnapshot());
}

TEST(StatusDocument, EveryFieldOfTheClockArrives) {
  const StatusSnapshot s = read(R"({
    "defaultDS": {"clockIdentity": "001122.FFFE.334455", "clockMode": 4, "domainNumber": 24, "twoStepFlag": true,
      "slaveOnly": true, "numberPorts": 65535, "priority1": 1, "priority2": 2,
      "clockQuality": {"clockClass": 6, "clockAccuracy": 33, "offsetScaledLogVariance": 20061}},
    "currentDS": {"stepsRemoved": 3, "offsetFromMaster": -1.5, "meanPathDelay": 2},
    "parentDS": {"parentPortIdentity": "00aabb.fffe.ccddee-0", "parentSource": {"address": "2001:db8::1", "word": 7,
      "halfWord": 8}, "parentStats": true, "observedParentOffsetScaledLogVariance": 9,
      "observedParentClockPhaseChangeRate": -10, "grandmasterIdentity": "00aabb.fffe.ccddee",
      "grandmasterClockQuality": {"clockClass": 11, "clockAccuracy": 12, "offsetScaledLogVariance": 13},
      "grandmasterPriority1": 14, "grandmasterPriority2": 15},
    "timePropertiesDS": {"currentUtcOffset": -37, "currentUtcOffsetValid": true, "leap59": true, "leap61": true,
      "timeTraceable": true, "frequencyTraceable": true, "ptpTimescale": true, "timeSource": 32},
    "mibData": {"packetsSent": 18446744073709551615, "packetsReceived": 16, "domainClockPortsTotal": 17},
    "interfaces": {"eth0": 2147483647}})");
  using Pelor::NetU16;
  EXPECT_EQ(s.defaultDS, (Ptp::DefaultDSValues{Ptp::ClockIdentity("001122.fffe.334455"),
                                               Ptp::PtpMode::endToEndTransparentSyntonized,
                                               24,
                                               true,
                                               true,
                                               NetU16(65535),
                                               {6, 33, NetU16(20061)},
                                               1,
                                               2}));
  EXPECT_EQ(s.currentDS, (Ptp::CurrentDSValues{NetU16(3), -98304, 131072}));
  EXPECT_EQ(s.parentDS, (Ptp::ParentDSValues{{11, 12, NetU16(13)},
                                             Ptp::PortIdentity("00aabb.fffe.ccddee-0"),
                                             {Pelor::IpGenAddr("2001:db8::1"), 7, 8},
                                             Ptp::ClockIdentity("00aabb.fffe.ccddee"),
                                             true,
                                             NetU16(9),
                                             -10,
                                             14,
                                             15}));
  EXPECT_EQ(s.timePropertiesDS, (Ptp::TimePropertiesDSValues{NetU16(0xffdb), true, true, true, true, true, true, 32}));
  EXPECT_EQ(s.mibData, (MibDataSnapshot{{std::numeric_limits<std::uint64_t>::max(), 16}, 17}));
  EXPECT_EQ(s.interfaces, (std::map<std::string, std::uint32_t>{{"eth0", 2147483647}}));
}

TEST(StatusDocument, EveryFieldOfAPortArrives) {
  const PortSnapshot p = onlyPort(read(port(R"(
    "portIdentity": "001122.fffe.334455-65535", "portName": "uplink", "interface": "eth0", "portState": "slaveLocked",
    "role": "slave", "logMinDelayReqInterval": -128, "peerMeanPathDelay": 0.0000152587890625,
    "logAnnounceInterval": 127, "announceReceiptTimeout": 255, "logSyncInterval": -3, "delayMechanism": "disabled",
    "logMinPdelayReqInterval": 4, "syncTwoStep": true, "faultyFlag": true, "numberOfAssociatedPorts": 4294967295,
    "transport": "ipv4", "encapsulation": "ipv6", "txMode": "multicast", "rxMode": 200,
    "mibData": {"packetsSent": 5, "packetsReceived": 6})")));
  const Ptp::PortDSValues expected{Ptp::PortIdentity("001122.fffe.334455-65535"),
                                   "uplink",
                                   {},
                                   Ptp::PortState::slaveLocked,
                                   PtpMib::ClockRoleType::slave,
                                   -128,
                                   1,
                                   127,
                                   255,
                                   -3,
                                   Ptp::DelayMechanism::disabled,
                                   4,
                                   true,
                                   true,
                                   4294967295,
                                   Ptp::TransportMode::ipv4,
                                   Ptp::TransportMode::ipv6,
                                   PtpMib::RxTxMode::multicast,
                                   PtpMib::RxTxMode{200}};
  EXPECT_EQ(p, (PortSnapshot{expected, "eth0", Ptp::PacketCounters{5, 6}}));
}

TEST(StatusDocument, APortIsNamedAfterItsInterfaceOrElseItsKey) {
  EXPECT_EQ(onlyPort(read(port(R"("interface":"eth0")"))).values.name, "eth0");
  EXPECT_EQ(onlyPort(read(port(""))).values.name, "001122.fffe.334455-1");
  EXPECT_EQ(onlyPort(read(port(""))).values.portIdentity, Ptp::PortIdentity("001122.fffe.334455-1"));
}

TEST(StatusDocument, AParentSourceMayBeAnAddressAlone) {
  const auto source = read(R"({"parentDS":{"parentSource":"192.0.2.1"}})").parentDS->parentSource;
  EXPECT_EQ(source, (Ptp::ParentSource{Pelor::IpGenAddr("192.0.2.1"), 0, 0}));
}

TEST(StatusDocument, AnIntervalIsExactToTheLastBit) {
  constexpr Scaled most = std::numeric_limits<Scaled>::max();
  constexpr Scaled least = std::numeric_limits<Scaled>::min();
  for (const Scaled scaled : {Scaled{0}, Scaled{1}, Scaled{-1}, most, most - 1, least, least + 1}) {
    EXPECT_EQ(offset(decimal(scaled)), scaled) << decimal(scaled);
  }
  std::uint64_t random = 1;
  for (int i = 0; i < 1000; ++i) {
    random = random * 6364136223846793005U + 1442695040888963407U;
    const auto scaled = static_cast<Scaled>(random) >> (i % 60);
    ASSERT_EQ(offset(decimal(scaled)), scaled) << decimal(scaled);
  }
  EXPECT_EQ(offset("140737488355327"), most - 65535);
  EXPECT_EQ(offset("-140737488355328"), least);
  EXPECT_EQ(offset("1e3"), 65536000);
}

TEST(StatusDocument, AnIntervalIsRoundedToTheNearestStep) {
  EXPECT_EQ(offset("0.0000076"), 0);
  EXPECT_EQ(offset("0.0000077"), 1);
  EXPECT_EQ(offset("-0.0000077"), -1);
}

TEST(StatusDocument, AnIntervalOutOfRangeIsRefused) {
  EXPECT_EQ(offsetRefusal("140737488355328"),
            "currentDS.offsetFromMaster: 140737488355328 is out of range (-140737488355328 to "
            "140737488355327.9999847412109375 ns)");
  for (const auto* value : {"140737488355327.999999", "-140737488355328.00001", "1e30", "-1e4000", "1e18"}) {
    EXPECT_NE(offsetRefusal(value), "accepted") << value;
  }
  EXPECT_EQ(offsetRefusal("\"5\""), "currentDS.offsetFromMaster: \"5\" is not a number of nanoseconds");
}

TEST(StatusDocument, AnIntegerIsRefusedOutsideItsFieldsRange) {
  EXPECT_EQ(refusal(defaultDS(R"("priority1":256)")), "defaultDS.priority1: 256 is out of range (0 to 255)");
  EXPECT_EQ(refusal(defaultDS(R"("priority1":-1)")), "defaultDS.priority1: -1 is out of range (0 to 255)");
  EXPECT_EQ(refusal(defaultDS(R"("clockQuality":{"offsetScaledLogVariance":65536})")),
            "defaultDS.clockQuality.offsetScaledLogVariance: 65536 is out of range (0 to 65535)");
  EXPECT_EQ(refusal(R"({"timePropertiesDS":{"currentUtcOffset":32768}})"),
            "timePropertiesDS.currentUtcOffset: 32768 is out of range (-32768 to 32767)");
  EXPECT_EQ(refusal(port(R"("logSyncInterval":128)")),
            "ports[\"001122.fffe.334455-1\"].logSyncInterval: 128 is out of range (-128 to 127)");
  EXPECT_EQ(refusal(R"({"mibData":{"packetsSent":18446744073709551616}})"),
            "mibData.packetsSent: 1.8446744073709551616e+19 is out of range (0 to 18446744073709551615)");
  EXPECT_EQ(refusal(R"({"interfaces":{"eth0":0}})"), "interfaces[\"eth0\"]: 0 is out of range (1 to 2147483647)");
}

TEST(StatusDocument, AnIntegerMayBeWrittenAsAWholeFloat) {
  EXPECT_EQ(read(defaultDS(R"("priority1":1.28e2)")).defaultDS->priority1, 128);
  EXPECT_EQ(refusal(defaultDS(R"("priority1":1.5)")), "defaultDS.priority1: 1.5 is not a whole number");
  EXPECT_EQ(refusal(defaultDS(R"("priority1":true)")), "defaultDS.priority1: true is not a whole number");
}

TEST(StatusDocument, AWrongTypeIsRefused) {
  EXPECT_EQ(refusal("5"), "5 is not an object");
  EXPECT_EQ(refusal("null"), "null is not an object");
  EXPECT_EQ(refusal(R"({"currentDS":[]})"), "currentDS: an array is not an object");
  EXPECT_EQ(refusal(defaultDS(R"("twoStepFlag":1)")), "defaultDS.twoStepFlag: 1 is not true or false");
  EXPECT_EQ(refusal(port(R"("mibData":null)")), "ports[\"001122.fffe.334455-1\"].mibData: null is not an object");
}

TEST(StatusDocument, AnUnknownWordIsRefusedAndTheKnownOnesNamed) {
  EXPECT_EQ(refusal(port(R"("transport":"ipv5")")),
            "ports[\"001122.fffe.334455-1\"].transport: \"ipv5\" is not one of ethernet, ipv4, ipv6, or a number");
  EXPECT_EQ(refusal(port(R"("transport":256)")),
            "ports[\"001122.fffe.334455-1\"].transport: 256 is out of range (0 to 255)");
}

TEST(StatusDocument, AnUnknownMemberIsRefusedAndTheKnownOnesNamed) {
  EXPECT_EQ(refusal(R"({"currentDS":{"meanPathDely":1}})"),
            "currentDS: \"meanPathDely\" is unknown; known are stepsRemoved, offsetFromMaster, meanPathDelay");
  EXPECT_EQ(refusal(R"({"portDS":{}})"),
            "\"portDS\" is unknown; known are defaultDS, currentDS, parentDS, timePropertiesDS, mibData, ports, "
            "interfaces");
}

TEST(StatusDocument, AMissingRequiredMemberIsNamed) {
  EXPECT_EQ(refusal(R"({"defaultDS":{"clockMode":1}})"), "defaultDS.clockIdentity: is missing");
  EXPECT_EQ(refusal(R"({"defaultDS":{"clockIdentity":"001122.fffe.334455"}})"), "defaultDS.clockMode: is missing");
}

TEST(StatusDocument, AMalformedTextIsRefused) {
  EXPECT_EQ(refusal(defaultDS(R"("clockIdentity":"0011.22")")), "\"clockIdentity\" stands twice in one object");
  EXPECT_EQ(refusal(R"({"parentDS":{"grandmasterIdentity":"0011.22"}})"),
            "parentDS.grandmasterIdentity: \"0011.22\" is not a clock identity such as \"001122.fffe.334455\"");
  EXPECT_EQ(refusal(R"({"parentDS":{"parentSource":"192.0.2.256"}})"),
            "parentDS.parentSource: \"192.0.2.256\" is not an IPv4 or IPv6 address");
  // A C function would read this one up to the NUL.
  EXPECT_EQ(refusal(R"({"parentDS":{"parentSource":"192.0.2.1\u0000x"}})"),
            "parentDS.parentSource: \"192.0.2.1\\x00x\" is not an IPv4 or IPv6 address");
  EXPECT_EQ(refusal(R"({"ports":{"1":{}}})"), "ports: \"1\" is not a port identity such as \"001122.fffe.334455-1\"");
  EXPECT_EQ(refusal(R"({"ports":{"001122.fffe.334455-0":{}}})"),
            "ports: \"001122.fffe.334455-0\" is not a port of this clock (1 to 65535)");
  EXPECT_NE(refusal(R"({"ports":{"001122.fffe.334455-65536":{}}})"), "accepted");
}

TEST(StatusDocument, ANameHasOneToSixtyFourBytes) {
  const auto nameOf = [](std::size_t length) {
    return refusal(port(fmt::format(R"("portName":"{}")", std::string(length, 'x'))));
  };
  EXPECT_EQ(nameOf(64), "accepted");
  EXPECT_NE(nameOf(65), "accepted");
  EXPECT_EQ(nameOf(0),
            "ports[\"001122.fffe.334455-1\"].portName: \"\" is not a name of 1 to 64 bytes without control "
            "characters");
  EXPECT_NE(refusal(port(R"("portName":"a\nb")")), "accepted");
  EXPECT_NE(refusal(R"({"interfaces":{"":1}})"), "accepted");
}

TEST(StatusDocument, TwoKeysForOnePortAreRefused) {
  EXPECT_EQ(refusal(R"({"ports":{"001122.FFFE.334455-1":{},"001122.fffe.334455-1":{}}})"),
            "ports: \"001122.FFFE.334455-1\" and \"001122.fffe.334455-1\" name one port");
  EXPECT_NE(refusal(R"({"ports":{"001122.fffe.334455-1":{},"001122.fffe.334455-01":{}}})"), "accepted");
}

TEST(StatusDocument, AMemberThatStandsTwiceIsRefused) {
  EXPECT_EQ(refusal(R"({"mibData":{},"mibData":{}})"), "\"mibData\" stands twice in one object");
  EXPECT_EQ(refusal(R"({"mibData":{"packetsSent":1},"ports":{"001122.fffe.334455-1":{"mibData":{"packetsSent":1}}}})"),
            "accepted");
}

TEST(StatusDocument, DeepNestingIsRefusedBeforeItCanExhaustTheStack) {
  EXPECT_EQ(refusal(std::string(1'000'000, '[')), "nested deeper than 16 levels");
  std::string objects;
  for (int i = 0; i < 1'000'000; ++i) objects += R"({"a":)";
  EXPECT_EQ(refusal(objects), "nested deeper than 16 levels");
}

TEST(StatusDocument, WhatIsNotJsonIsRefused) {
  EXPECT_EQ(refusal("{\"currentDS\":}").substr(0, 21), "not JSON: column 14: ");
  EXPECT_EQ(refusal(std::string_view("{}\0{}", 5)), "not JSON: it contains a NUL byte");
}

TEST(StatusDocument, AMessageIsOnePrintableLineOfBoundedLength) {
  const std::string hostile = "\\u001b[31m\\r\\n\\u0000\\u009b\\u2028" + std::string(1'000'000, 'x');
  for (const auto& text : {fmt::format(R"({{"{}":1}})", hostile), fmt::format(R"({{"ports":{{"{}":{{}}}}}})", hostile),
                           port(fmt::format(R"("portState":"{}")", hostile)), port(fmt::format(R"("{}":1)", hostile)),
                           fmt::format(R"({{"{0}":1,"{0}":1}})", hostile), "tru\x1b\x07" + hostile,
                           "\"\xff\xfe" + hostile, "[1e99999999" + std::string(1'000'000, '9') + "]"}) {
    const std::string message = refusal(text);
    EXPECT_NE(message, "accepted");
    EXPECT_LT(message.size(), 2000U);
    EXPECT_TRUE(std::ranges::all_of(message, [](char c) { return c >= ' ' && c <= '~'; })) << message;
  }
}

// Collects what the schema names, references followed, in the form of statusDocumentFields().
void collect(const Json& root, const Json& schema, const std::string& path, std::set<std::string>& paths) {
  const auto descend = [&](const std::string& name, const Json& member) {
    const std::string below = path.empty() ? name : path + "." + name;
    paths.insert(below);
    collect(root, member, below, paths);
  };
  for (const auto& [keyword, value] : schema.items()) {
    if (keyword == "$ref") {
      collect(root, root.at(Json::json_pointer(value.get<std::string>().substr(1))), path, paths);
    } else if (keyword == "anyOf") {
      for (const Json& choice : value) collect(root, choice, path, paths);
    } else if (keyword == "properties") {
      for (const auto& [name, member] : value.items()) descend(name, member);
    } else if (keyword == "additionalProperties" && value.is_object()) {
      descend("*", value);
    }
  }
}

TEST(StatusDocument, TheSchemaNamesTheFieldsOfTheDecoder) {
  std::ifstream file(PTPSNMP_SOURCE_DIR "/docs/status-document.schema.json");
  std::stringstream text;
  text << file.rdbuf();
  const Json schema = Json::parse(text.str());
  std::set<std::string> inSchema;
  collect(schema, schema, "", inSchema);
  const auto decoded = statusDocumentFields();
  EXPECT_EQ(inSchema, std::set<std::string>(decoded.begin(), decoded.end()));
  EXPECT_TRUE(inSchema.contains("ports.*.mibData.packetsReceived"));
}

}  // namespace
}  // namespace host
