// The text forms of identities and addresses, and selections of traces. The first byte says what the rest is.
#include "Fuzzer.h"
#include "Pelor/IpGenAddr.h"
#include "Ptp/Identity.h"
#include "Ptp/PortDSKey.h"
#include "Zarn/Exception.h"
#include "Zarn/Trace.h"

namespace {

template <class Value>
void read(const std::string& text) {
  try {
    const Value value{std::string_view(text)};
    fuzz::require(Value(std::string_view(value.stringValue())) == value, "what is written reads back: " + text);
  } catch (const Zarn::RangeException&) {
  }
}

std::uint32_t levels() {
  std::uint32_t on = 0;
  for (unsigned level = 0; level < 32; ++level) on |= Zarn::TraceHandle::instance("Snmp").on(level) ? 1U << level : 0U;
  return on;
}

void select(const std::string& selection) {
  Zarn::TraceSettings::reset();
  const std::uint32_t before = levels();
  try {
    Zarn::TraceSettings::select(selection);
    const std::uint32_t selected = levels();
    Zarn::TraceSettings::select(selection);
    fuzz::require(levels() == selected, "selecting again changes nothing: " + selection);
  } catch (const Zarn::RangeException&) {
    fuzz::require(levels() == before, "a selection that is refused changes nothing: " + selection);
  }
  Zarn::TraceSettings::reset();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::ByteSource input(data, size);
  const std::uint8_t kind = input.byte();
  const std::string text = input.restAsText();
  switch (kind) {
    case 'c': read<Ptp::ClockIdentity>(text); break;
    case 'p': read<Ptp::PortIdentity>(text); break;
    case 'k': read<Ptp::PortDSKey>(text); break;
    case 'a': read<Pelor::IpGenAddr>(text); break;
    case 't': select(text); break;
    default: break;
  }
  return 0;
}
