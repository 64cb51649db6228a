// A poll of a clock, beside a service that answers anything at any time. The input says what happens next.
#include "ptp4l/ClockPoll.h"

#include <spdlog/spdlog.h>

#include <deque>

#include "Fuzzer.h"
#include "PtpMessages.h"
#include "StatusWriter.h"

namespace {

using namespace host;
using namespace host::ptp4l;
using host::ptp4l::test::Bytes;

const Ptp::PortIdentity self("0a0b0c.0d0e.0f1011-77");

Bytes recordedData(ManagementId id) {
  constexpr std::size_t timeStatusSize = 50;
  switch (id) {
    case ManagementId::defaultDataSet: return test::defaultDataSet;
    case ManagementId::currentDataSet: return test::currentDataSet;
    case ManagementId::parentDataSet: return test::parentDataSet;
    case ManagementId::timePropertiesDataSet: return test::timePropertiesDataSet;
    case ManagementId::portDataSet: return test::portDataSet;
    case ManagementId::portPropertiesNp: return test::portProperties;
    case ManagementId::portStatsNp: return test::portStats();
    case ManagementId::clockDescription: return test::clockDescription;
    case ManagementId::timeStatusNp: return Bytes(timeStatusSize);
    case ManagementId::subscribeEventsNp: break;
  }
  return {};
}

class Run {
 public:
  explicit Run(fuzz::ByteSource& input) : input_(input) {}

  void step() {
    switch (input_.below(12)) {
      case 0: begin(); break;
      case 1: poll_.forget(); break;
      case 2: poll_.unasked(); break;
      case 3: poll_.release(input_.byte()); break;
      case 4: poll_.subscription(); break;
      case 5:
        if (poll_.answered()) poll_.askForClock();
        break;
      case 6: accept(copyOf(input_.bytes(input_.byte()))); break;
      case 7: refuse(); break;
      case 8: report(); break;
      default: answer(); break;
    }
    send();
    requireBounds();
    writeStatus();
  }

 private:
  static Bytes copyOf(std::span<const std::uint8_t> bytes) { return {bytes.begin(), bytes.end()}; }

  void begin() {
    std::vector<Domain> domains(1 + input_.below(3));
    for (Domain& domain : domains) domain.domainNumber = input_.byte();
    poll_.begin(domains);
    open_.clear();
  }

  void send() {
    while (const auto request = poll_.next()) {
      open_.push_back(*request);
      poll_.sent();
    }
  }

  // One of the questions that are open, in order or not. A question may be answered twice.
  GetRequest question() {
    if (open_.empty()) return {};
    const std::size_t chosen = input_.byte() % open_.size();
    const GetRequest request = open_[chosen];
    if (!input_.oneIn(8)) open_.erase(open_.begin() + static_cast<std::ptrdiff_t>(chosen));
    return request;
  }

  // What a service once said, changed in a few places, and cut short or made longer.
  Bytes dataFor(ManagementId id, std::uint16_t port) {
    Bytes data = recordedData(id);
    using enum ManagementId;
    if (id == portDataSet || id == portPropertiesNp || id == portStatsNp) test::putU16(data, 8, port);
    for (unsigned changes = input_.below(8); changes > 0 && !data.empty(); --changes) {
      const std::size_t place = input_.byte() % data.size();
      data[place] = input_.byte();
    }
    // A clock of very many ports takes long, so there is one at most.
    if (id == ManagementId::defaultDataSet && std::exchange(large_, true)) data[2] = 0;
    if (input_.oneIn(16)) data.resize(input_.byte());
    return data;
  }

  void answer() {
    const GetRequest request = question();
    const auto bytes = encode(request);
    accept(test::answer(Bytes(bytes.begin(), bytes.end()), dataFor(request.id, request.port)));
  }
  void refuse() {
    const auto bytes = encode(question());
    accept(test::refusal(Bytes(bytes.begin(), bytes.end()), input_.below(8)));
  }
  void report() {
    using enum ManagementId;
    static constexpr std::array ids = {timeStatusNp, parentDataSet, portDataSet, subscribeEventsNp};
    const std::uint16_t port = input_.byte();
    const auto bytes = encode(GetRequest{.id = ids[input_.below(ids.size())],
                                         .domain = poll_.domain(),
                                         .port = port,
                                         .sequenceId = input_.number<std::uint16_t>(),
                                         .sender = self});
    const Bytes request(bytes.begin(), bytes.end());
    accept(test::answer(request, dataFor(ids[input_.below(ids.size())], port)));
  }

  void accept(const Bytes& datagram) {
    if (const auto response = parseResponse(datagram)) poll_.accept(*response);
  }

  // What a service says must not make the books grow without end.
  void requireBounds() const {
    const ClockReplies& known = poll_.replies();
    const std::size_t ports = known.defaultDS ? known.defaultDS->numberPorts.value() : allPorts;
    fuzz::require(known.ports.size() <= ports, "a clock has no more ports than it says");
    fuzz::require(poll_.heldBack() <= std::size_t{4} * allPorts, "a round asks four questions for each port at most");
    fuzz::require(!poll_.complete() || poll_.answered(), "what is complete was answered");
  }

  void writeStatus() {
    if (poll_.replies().ports.size() > 300) return;
    try {
      writer_.apply(statusOf(poll_.replies(), [](const std::string& name) { return std::optional(name.size()); }));
    } catch (const StatusRefused& refusal) {
      fuzz::requireOneLine(refusal.what());
    }
  }

  fuzz::ByteSource& input_;
  ClockPoll poll_{self};
  std::deque<GetRequest> open_;
  StatusWriter writer_{Kestor::make<Ptp::Status>("status"), Kestor::make<IntfSnmp::IfMib>("ifMib")};
  bool large_ = false;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr int mostSteps = 300;
  spdlog::set_level(spdlog::level::off);
  fuzz::ByteSource input(data, size);
  Run run(input);
  for (int i = 0; i < mostSteps && !input.empty(); ++i) run.step();
  return 0;
}
