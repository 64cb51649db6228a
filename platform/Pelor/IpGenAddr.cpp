#include "Pelor/IpGenAddr.h"

#include <arpa/inet.h>
#include <fmt/format.h>

#include "Zarn/Exception.h"

namespace Pelor {

IpGenAddr::IpGenAddr(std::string_view text) {
  const Kestor::String terminated(text);
  const bool whole = terminated.find('\0') == Kestor::String::npos;  // inet_pton would read up to there only
  if (whole && inet_pton(AF_INET, terminated.c_str(), bytes.data()) == 1) {
    family = AddressFamily::ipv4;
  } else if (whole && inet_pton(AF_INET6, terminated.c_str(), bytes.data()) == 1) {
    family = AddressFamily::ipv6;
  } else {
    throw Zarn::RangeException(fmt::format("\"{}\" is not an IPv4 or IPv6 address", text));
  }
}

Kestor::String IpGenAddr::stringValue() const {
  std::array<char, INET6_ADDRSTRLEN> text{};
  inet_ntop(family == AddressFamily::ipv4 ? AF_INET : AF_INET6, bytes.data(), text.data(), text.size());
  return text.data();
}

std::ostream& operator<<(std::ostream& os, const IpGenAddr& address) { return os << address.stringValue(); }

}  // namespace Pelor
