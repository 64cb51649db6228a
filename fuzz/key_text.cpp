// The text forms of the model's keys: what is read is written again as it stood, or is refused. The first
// byte says what the rest is.
#include <sstream>

#include "Fuzzer.h"
#include "PtpSnmp/Keys.h"
#include "Zarn/Exception.h"
#include "Zarn/ValueText.h"

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Leading zeros are read, and are not written.
std::string withoutLeadingZeros(const std::string& form) {
  std::string shortened;
  for (std::size_t i = 0; i < form.size(); ++i) {
    const bool leading = form[i] == '0' && shortened.ends_with('=') && i + 1 < form.size() && isDigit(form[i + 1]);
    if (!leading) shortened += form[i];
  }
  return shortened;
}

template <class Key>
std::string text(const Key& key) {
  std::ostringstream os;
  os << key;
  return os.str();
}

template <class Key>
void read(const std::string& form) {
  try {
    const auto key = Zarn::strepToValue<Key>(form);
    fuzz::require(text(key) == withoutLeadingZeros(form), "a key is written as it was read: " + text(key));
    fuzz::require(Zarn::strepToValue<Key>(text(key)) == key, "a key's text reads back as the key: " + text(key));
  } catch (const Zarn::RangeException&) {
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::ByteSource input(data, size);
  const std::uint8_t kind = input.byte();
  const std::string form = input.restAsText();
  switch (kind) {
    case '1': read<PtpSnmp::PtpTableKey>(form); break;
    case '2': read<PtpSnmp::TransDefaultDSTableKey>(form); break;
    case '3': read<PtpSnmp::PortTableKey>(form); break;
    case '4': read<PtpSnmp::PortTransDSTableKey>(form); break;
    case '5': read<PtpSnmp::SystemTableKey>(form); break;
    default: break;
  }
  return 0;
}
