// docs/mib-conformance.md, the catalogue and the registered tables say the same.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "Columns.h"
#include "Tables.h"
#include "ptpbaseMIB/Catalogue.h"

namespace {

using namespace test;
using PtpSnmp::Mib::CatalogueEntry;

struct DocumentedColumn {
  unsigned number;
  std::string object;
  std::string servedAs;
  std::string unit;
  std::string value;
  std::string differs;
};

std::string trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(' ');
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

struct Page {
  std::map<std::string, std::vector<DocumentedColumn>> tables;
  std::set<std::string> explained;  ///< the differences that have a reason

  Page() {
    std::ifstream stream(CONFORMANCE_PAGE);
    std::string section;
    for (std::string line; std::getline(stream, line);) {
      if (line.starts_with("## ")) section = line.substr(3);
      if (line.starts_with("- **")) explained.insert(line.substr(4, line.find("**", 4) - 4));
      if (!line.starts_with("| ") || line.starts_with("| Column")) continue;
      std::istringstream cells(line.substr(1));
      std::vector<std::string> row;
      for (std::string cell; std::getline(cells, cell, '|');) row.push_back(trimmed(cell));
      row.resize(6);
      tables[section].push_back({static_cast<unsigned>(std::stoul(row[0])), row[1], row[2], row[3], row[4], row[5]});
    }
  }
};

const Page& page() {
  static const Page instance;
  return instance;
}

std::string typeName(u_char type) {
  switch (type) {
    case ASN_INTEGER: return "INTEGER";
    case ASN_OCTET_STR: return "OCTET STRING";
    case ASN_OBJECT_ID: return "OBJECT IDENTIFIER";
    case ASN_COUNTER: return "Counter32";
    case ASN_GAUGE: return "Gauge32";
    case ASN_COUNTER64: return "Counter64";
    default: return "?";
  }
}

std::vector<CatalogueEntry> wholeCatalogue() {
  std::vector<CatalogueEntry> all;
  for (const auto part :
       {PtpSnmp::Mib::systemCatalogue(), PtpSnmp::Mib::clockCatalogue(), PtpSnmp::Mib::portCatalogue()}) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

TEST(ConformanceTest, ThePageListsEachServedColumnWithItsNameAndType) {
  std::size_t served = 0;
  for (const CatalogueEntry& entry : wholeCatalogue()) {
    const auto& columns = page().tables.at(entry.table);
    ASSERT_LE(entry.number, columns.size()) << entry.table;
    const DocumentedColumn& column = columns[entry.number - 1];
    EXPECT_EQ(column.number, entry.number) << entry.table;
    EXPECT_EQ(column.object, entry.name);
    EXPECT_EQ(column.servedAs, typeName(entry.asnType)) << entry.name;
    EXPECT_NE(column.value, "") << entry.name;
    ++served;
  }
  EXPECT_EQ(served, 66U);
}

TEST(ConformanceTest, ThePageListsEveryObjectOfEachTableAndNoOtherAsServed) {
  ASSERT_EQ(page().tables.size(), tables().size());
  for (const Table& t : tables()) {
    const auto& columns = page().tables.at(t.name);
    ASSERT_EQ(columns.size(), t.lastColumn) << t.name;
    std::vector<unsigned> served;
    for (std::size_t i = 0; i < columns.size(); ++i) {
      EXPECT_EQ(columns[i].number, i + 1) << t.name;
      if (i < t.indexes.size()) {
        EXPECT_EQ(columns[i].object, t.indexes[i].name);
        EXPECT_EQ(columns[i].servedAs, "index") << columns[i].object;
      } else if (columns[i].servedAs != "no") {
        served.push_back(columns[i].number);
      }
    }
    EXPECT_EQ(served, t.served) << t.name;
  }
}

TEST(ConformanceTest, EachDifferenceHasItsReasonAndEachReasonItsColumn) {
  std::set<std::string> referred;
  for (const auto& [name, columns] : page().tables) {
    for (const DocumentedColumn& column : columns) {
      if (!column.differs.empty()) referred.insert(column.differs);
      if (column.servedAs == "no") {
        EXPECT_NE(column.differs, "") << column.object;
      }
    }
  }
  EXPECT_EQ(referred, page().explained);
}

TEST(CatalogueTest, EachColumnHasItsNameItsAttributeItsConverterAndItsType) {
  const auto line = [](const auto& column, u_char type) {
    return fmt::format("{} {} {} attribute '{}' {} {}", column.table, column.number, column.name, column.attribute,
                       column.converter, typeName(type));
  };
  const std::vector<CatalogueEntry> catalogue = wholeCatalogue();
  ASSERT_EQ(columns().size(), 66U);
  ASSERT_EQ(catalogue.size(), 66U);
  for (std::size_t i = 0; i < 66; ++i) {
    EXPECT_EQ(line(catalogue[i], catalogue[i].asnType), line(columns()[i], columns()[i].type));
  }
}

TEST(CatalogueTest, FailureMessagesNameTheAttributeButForTheGrantsThatHaveNone) {
  for (const CatalogueEntry& entry : wholeCatalogue()) {
    EXPECT_EQ(*entry.attribute == '\0', std::string(entry.name) == "ptpbaseClockPortDSGrantDuration") << entry.name;
  }
}

TEST(CatalogueTest, OnlyTheTransparentClocksPortCountIsACounter32) {
  for (const CatalogueEntry& entry : wholeCatalogue()) {
    EXPECT_EQ(entry.asnType == ASN_COUNTER, std::string(entry.name) == "ptpbaseClockTransDefaultDSNumOfPorts");
  }
}

TEST(CatalogueTest, EachConverterHasItsTypeAndItsLengths) {
  struct Rule {
    u_char asnType;
    int buffer;
    int min;
    int max;
    bool checked;
  };
  const std::map<std::string, Rule> rules{
      {"S32ToAsnInteger", {ASN_INTEGER, 1024, 0, 0, false}},
      {"BoolToAsnInteger", {ASN_INTEGER, 1024, 0, 0, false}},
      {"U32ToAsnUnsigned", {ASN_GAUGE, 1024, 0, 0, false}},
      {"U64ToCounter64", {ASN_COUNTER64, 1024, 0, 0, false}},
      {"StringToAsnOctetString", {ASN_OCTET_STR, 64, 1, 64, true}},
      {"PtpTimeIntervalToAsnOctetString", {ASN_OCTET_STR, 255, 1, 255, true}},
      {"ClockIdentityToAsnOctetString", {ASN_OCTET_STR, 8, 8, 8, true}},
      {"PortIdentityToAsnOctetString", {ASN_OCTET_STR, 256, 1, 256, true}},
      {"PtpModeAsDelayToAsnInteger", {ASN_INTEGER, 1024, 0, 0, false}},
      {"PtpRoleToAsnInteger", {ASN_INTEGER, 1024, 0, 0, false}},
      {"AddressTypeToAsnOid", {ASN_OBJECT_ID, 1024, 0, 0, false}},
      {"DelayMechToAsnInteger", {ASN_INTEGER, 1024, 0, 0, false}},
      {"PortStateToAsnInteger", {ASN_INTEGER, 1024, 0, 0, false}},
      {"RxTxModeToAsnInteger", {ASN_INTEGER, 1024, 0, 0, false}},
  };
  for (const CatalogueEntry& entry : wholeCatalogue()) {
    ASSERT_TRUE(rules.contains(entry.converter)) << entry.converter;
    const Rule& rule = rules.at(entry.converter);
    EXPECT_EQ(entry.asnType == ASN_COUNTER ? ASN_GAUGE : entry.asnType, rule.asnType) << entry.name;
    EXPECT_EQ(entry.length.checked, rule.checked) << entry.name;
    EXPECT_EQ(entry.length.buffer, rule.buffer) << entry.name;
    if (rule.checked) {
      EXPECT_EQ(entry.length.min, rule.min) << entry.name;
      EXPECT_EQ(entry.length.max, rule.max) << entry.name;
    }
  }
}

}  // namespace
