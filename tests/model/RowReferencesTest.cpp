#include <gtest/gtest.h>

#include <vector>

#include "Inputs.h"
#include "PtpSnmp/ClockRows.h"
#include "PtpSnmp/PortRows.h"
#include "Zarn/TypeData.h"

namespace {

/// The reference counts of everything that rows of a status may refer to.
std::vector<std::uint32_t> counts(const test::Inputs& in) {
  const auto& status = *in.status;
  const Kestor::Node* nodes[] = {in.status.get(),
                                 in.ifMib.get(),
                                 status.defaultDS().get(),
                                 status.currentDS().get(),
                                 status.parentDS().get(),
                                 status.timePropertiesDS().get(),
                                 status.ptpMibData().get(),
                                 status.portDS().find(test::port1)->get(),
                                 status.ptpMibData()->ptpMibPortData.find(test::port1)->get()};
  std::vector<std::uint32_t> found;
  for (const Kestor::Node* node : nodes) found.push_back(node->refCount());
  return found;
}

struct RowReferences : testing::Test {
  RowReferences() { test::fillStatus(*in.status); }

  /// Reads every attribute of a row, and sees that each read leaves all counts as they were.
  void expectBalancedReads(const Kestor::Node& row) {
    const auto before = counts(in);
    for (const Zarn::AttributeData& attribute : row.typeData().attributes) {
      attribute.text(row);
      EXPECT_EQ(counts(in), before) << row.fwkType() << ' ' << attribute.name;
    }
  }
  Kestor::Ptr<const Ptp::Status> status() const { return in.status; }

  /// Without a row, each object is held once: by the test or by the status.
  void expectNoneLeft() { EXPECT_EQ(counts(in), std::vector<std::uint32_t>(9, 1)); }

  test::Inputs in;
};

TEST_F(RowReferences, AreTakenForOneReadAndDroppedAfterIt) {
  using namespace PtpSnmp;
  expectBalancedReads(*Kestor::make<PtpTableEntry>(PtpTableKey(1, ClockType::boundaryClock, 1), status()));
  expectBalancedReads(*Kestor::make<TransDefaultDSTableEntry>(TransDefaultDSTableKey(1, 1), status()));
  expectBalancedReads(*Kestor::make<SystemTableEntry>(SystemTableKey(1, 1), status()));
  expectBalancedReads(*Kestor::make<SystemDomainTableEntry>(ClockType::boundaryClock, status()));
  expectBalancedReads(
      *Kestor::make<PortTableEntry>(PortTableKey(1, ClockType::boundaryClock, 1, 1), status(), test::port1, in.ifMib));
  expectBalancedReads(*Kestor::make<PortTransDSTableEntry>(PortTransDSTableKey(1, 1, 1), status(), test::port1));
  expectNoneLeft();
}

TEST_F(RowReferences, ARowHoldsOneReferenceToTheStatusUntilItEnds) {
  using namespace PtpSnmp;
  {
    const auto row = Kestor::make<PtpTableEntry>(PtpTableKey(1, ClockType::boundaryClock, 1), status());
    EXPECT_EQ(in.status->refCount(), 2U);
    EXPECT_EQ(row->ptpStatus(), in.status);
  }
  expectNoneLeft();
}

TEST_F(RowReferences, APortRowHoldsTheStatusTheInterfaceMibThePortAndItsCounters) {
  using namespace PtpSnmp;
  {
    const auto row =
        Kestor::make<PortTableEntry>(PortTableKey(1, ClockType::boundaryClock, 1, 1), status(), test::port1, in.ifMib);
    EXPECT_EQ(counts(in), (std::vector<std::uint32_t>{2, 2, 1, 1, 1, 1, 1, 2, 2}));
    EXPECT_EQ(row->portDSKey(), test::port1);
    EXPECT_EQ(row->ifMib(), in.ifMib);
  }
  {
    const auto row = Kestor::make<PortTransDSTableEntry>(PortTransDSTableKey(1, 1, 1), status(), test::port1);
    EXPECT_EQ(counts(in), (std::vector<std::uint32_t>{2, 1, 1, 1, 1, 1, 1, 2, 1}));
    EXPECT_EQ(row->portDSKey(), test::port1);
  }
  expectNoneLeft();
}

}  // namespace
