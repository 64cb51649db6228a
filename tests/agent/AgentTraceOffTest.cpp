// Traces cost nothing while they are off. A text of a trace line's length needs memory, and numbers and addresses need
// a stream's formatter: both are counted here.
#include <cstdlib>
#include <locale>
#include <new>

#include "AgentHarness.h"

namespace {
long allocations = 0;
}  // namespace

// Not inlined: the compiler would see malloc meet delete.
// NOLINTBEGIN(misc-new-delete-overloads)
[[gnu::noinline]] void* operator new(std::size_t size) {
  ++allocations;
  if (void* block = std::malloc(size)) return block;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }
// NOLINTEND(misc-new-delete-overloads)

namespace test {
namespace {

/// Counts what streams made while it is the global locale's formatter.
class CountingFormatter : public std::num_put<char> {
 public:
  static long countedWhile(const std::function<void()>& action) {
    count_ = 0;
    const std::locale before = std::locale::global(std::locale(std::locale(), new CountingFormatter));
    action();
    std::locale::global(before);
    return count_;
  }

 protected:
  iter_type do_put(iter_type out, std::ios_base& base, char fill, unsigned long value) const override {
    ++count_;
    return std::num_put<char>::do_put(out, base, fill, value);
  }
  iter_type do_put(iter_type out, std::ios_base& base, char fill, const void* value) const override {
    ++count_;
    return std::num_put<char>::do_put(out, base, fill, value);
  }

 private:
  inline static long count_ = 0;
};

/// An agent of a transparent clock, with traces as selected and lines only counted.
struct AgentTraceOff : testing::Test {
  AgentTraceOff() {
    status->defaultDSIs(defaultDS(4));
    root->agentIs(status, mib, nullptr);
    Zarn::TraceSettings::sinkIs([this](std::string_view) { ++lines; });
  }
  ~AgentTraceOff() override {
    Zarn::TraceSettings::sinkIs({});
    Zarn::TraceSettings::reset();
  }
  static void select(std::string_view selection) {
    Zarn::TraceSettings::reset();
    Zarn::TraceSettings::select(selection);
  }

  // Every kind of event once.
  void everything() {
    status->portDSIs(portKey(1), portDS(3));
    status->defaultDSIs(defaultDS(4));
    status->defaultDS()->domainNumberIs(9);
    status->portDSDel(portKey(1));
    status->defaultDS()->clockModeIs(Ptp::PtpMode::disabled);
    status->defaultDSIs(nullptr);
  }
  // Runs five handlers, and needs memory for the rows made and nothing else.
  long allocationsOfARebuild() {
    const Ptp::PortDSKey unknown = portKey(77);
    const long before = allocations;
    status->publisher().publish(Ptp::Status::defaultDSAttribute);
    status->publisher().publish(Ptp::Status::portDSAttribute, &unknown);
    status->defaultDS()->domainNumberIs(status->defaultDS()->values().domainNumber + 1);
    return allocations - before;
  }

  Kestor::Ptr<Ptp::Status> status = Kestor::make<Ptp::Status>("status");
  Kestor::Ptr<PtpSnmp::PtpMib> mib = PtpSnmp::ptpMibFactory("mib");
  Kestor::Ptr<Root> root = PtpSnmp::Agent::rootFactory("root");
  long lines = 0;
};

// Rows come from the slabs; under a sanitizer each comes from the heap.
#if defined(__SANITIZE_ADDRESS__)
constexpr long rowsMade = 3;
#else
constexpr long rowsMade = 0;
#endif

constexpr const char* allButTheLevel = "PtpSnmp/0-7,PtpSnmp/9-31,Snmp/0-31";

TEST_F(AgentTraceOff, NothingIsFormattedWhileTheLevelIsOff) {
  for (const char* selection : {allButTheLevel, "PtpSnmp/off"}) {
    select(selection);
    EXPECT_EQ(CountingFormatter::countedWhile([this] { everything(); }), 0) << selection;
    EXPECT_EQ(lines, 0) << selection;
  }
  select("PtpSnmp/8");
  EXPECT_GT(CountingFormatter::countedWhile([this] { everything(); }), 0) << "the counter counts";
  EXPECT_GT(lines, 50);
}

TEST_F(AgentTraceOff, NoTextIsMadeWhileTheLevelIsOff) {
  select(allButTheLevel);
  EXPECT_EQ(allocationsOfARebuild(), rowsMade);
  EXPECT_EQ(lines, 0);
  select("PtpSnmp/8");
  EXPECT_GT(allocationsOfARebuild(), rowsMade + lines) << "the counter counts";
  EXPECT_GT(lines, 10);
}

}  // namespace
}  // namespace test
