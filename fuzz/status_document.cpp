// Status documents: what is accepted holds what the document's rules promise, and can be written to a status.
#include "StatusDocument.h"

#include "Fuzzer.h"
#include "StatusWriter.h"

namespace {

using namespace host;

void requireRules(const StatusSnapshot& snapshot) {
  const auto isName = [](const std::string& text) { return !text.empty() && text.size() <= 64; };
  for (const auto& [key, port] : snapshot.ports) {
    fuzz::require(port.values.portIdentity.portNumber.value() != 0, "a port has a number");
    fuzz::require(isName(port.values.name), "a port has a name of 1 to 64 bytes");
    fuzz::require(port.interface.empty() || isName(port.interface), "an interface's name has 1 to 64 bytes");
  }
  for (const auto& [name, index] : snapshot.interfaces) {
    fuzz::require(isName(name), "an interface has a name");
    fuzz::require(index >= 1 && index <= 0x7fffffff, "an ifIndex is 1 to 2147483647");
  }
}

void write(const StatusSnapshot& snapshot) {
  StatusWriter writer(Kestor::make<Ptp::Status>("status"), Kestor::make<IntfSnmp::IfMib>("ifMib"));
  try {
    writer.apply(snapshot);
    writer.apply(snapshot);
  } catch (const StatusRefused& refusal) {
    fuzz::requireOneLine(refusal.what());
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = fuzz::ByteSource(data, size).restAsText();
  try {
    const Json document = parseJson(text);
    const StatusSnapshot snapshot = snapshotFromDocument(document);
    requireRules(snapshot);
    write(snapshot);
  } catch (const DocumentError& refusal) {
    fuzz::requireOneLine(refusal.what());
  }
  return 0;
}
