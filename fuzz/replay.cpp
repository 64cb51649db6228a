// Replay files, read in the smallest slices and played to a status. The first byte says whether the file repeats.
#include "Replay.h"

#include <sstream>

#include "Fuzzer.h"
#include "StatusWriter.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace host;
  constexpr int mostSteps = 200;  // a file that repeats has no end

  fuzz::ByteSource input(data, size);
  const Repeat repeat = input.byte() == 'r' ? Repeat::yes : Repeat::no;
  StatusWriter writer(Kestor::make<Ptp::Status>("status"), Kestor::make<IntfSnmp::IfMib>("ifMib"));
  Replay replay("input", std::make_unique<std::istringstream>(input.restAsText()), repeat);
  Replay::Seconds shown{0};
  const auto nextIsDue = [&] {
    while (replay.isReading()) replay.read([] { return true; });
    return replay.due().has_value();
  };
  for (int i = 0; i < mostSteps && nextIsDue(); ++i) {
    const Replay::Seconds due = *replay.due();
    bool taken = false;
    const auto refusal = replay.step([&](const StatusSnapshot& snapshot) {
      writer.apply(snapshot);
      taken = true;
    });
    fuzz::require(taken != refusal.has_value(), "a line is shown or refused");
    if (refusal) {
      fuzz::requireOneLine(*refusal);
      continue;
    }
    // A line that is refused counts as not there, so that its time may lie behind that of the next.
    fuzz::require(due >= shown, "what is shown is in the order of time");
    shown = due;
  }
  return 0;
}
