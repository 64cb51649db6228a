// Datagrams of the management protocol, and the data fields within them.
#include "ptp4l/ManagementMessage.h"

#include <vector>

#include "Fuzzer.h"
#include "ptp4l/ManagementData.h"

namespace {

using namespace host::ptp4l;
using Data = std::span<const std::uint8_t>;

// Each copy ends where its memory ends, so that a read beyond it is noticed.
std::vector<std::uint8_t> shorter(Data data) { return {data.begin(), data.end() - 1}; }
std::vector<std::uint8_t> longer(Data data) {
  std::vector<std::uint8_t> bytes(data.begin(), data.end());
  bytes.push_back(0xff);
  return bytes;
}

template <class Decoder>
void decode(Data data, Decoder decoder) {
  const auto values = decoder(data);
  if (values) {
    fuzz::require(decoder(longer(data)) == values, "what follows a layout is ignored");
  } else if (!data.empty()) {
    fuzz::require(!decoder(shorter(data)), "less of what is too short is too short");
  }
}

void decodeAll(Data data) {
  decode(data, decodeDefaultDataSet);
  decode(data, decodeCurrentDataSet);
  decode(data, decodeParentDataSet);
  decode(data, decodeTimePropertiesDataSet);
  decode(data, decodePortDataSet);
  decode(data, decodeClockDescription);
  decode(data, decodeTimeStatus);
  decode(data, decodePortProperties);
  decode(data, decodePortStats);
}

bool liesWithin(Data part, Data whole) {
  return part.empty() || (part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size());
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Data datagram(data, size);
  decodeAll(datagram);
  const auto response = parseResponse(datagram);
  if (!response) return 0;
  const std::size_t length = std::size_t{data[2]} << 8 | data[3];
  fuzz::require(liesWithin(response->data, datagram.first(length)), "the data lies within the message");
  fuzz::require(!response->error || response->data.empty(), "an error has no data");
  const std::vector<std::uint8_t> cut(data, data + length - 1);
  fuzz::require(!parseResponse(cut), "a message that is not whole is none");
  decodeAll(std::vector<std::uint8_t>(response->data.begin(), response->data.end()));
  return 0;
}
