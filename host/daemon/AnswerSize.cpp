#include "AnswerSize.h"

#include "NetSnmp.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

namespace host {
namespace {

constexpr long unlimited = SNMP_MAX_PACKET_LEN;

struct Current {
  long limit;  // in octets, of the answer
  bool isBulk;
  bool hasTooManyNames;
};
std::optional<Current> current;

long limitOf(const netsnmp_session& session, const netsnmp_pdu& pdu) {
  const auto carried = static_cast<long>(session.sndMsgMaxSize);
  return pdu.msgMaxSize > 0 ? std::min(pdu.msgMaxSize, carried) : carried;
}

/// The varbinds of a message, of which some at the end can be left out for a time.
class Varbinds {
 public:
  explicit Varbinds(netsnmp_pdu& pdu) : pdu_(pdu) {
    // A mark in place of a value ends the list early.
    for (auto* each = pdu.variables; each != nullptr && each->type != ASN_PRIV_STOP; each = each->next_variable) {
      list_.push_back(each);
    }
  }
  Varbinds(const Varbinds&) = delete;
  Varbinds& operator=(const Varbinds&) = delete;
  ~Varbinds() { restore(); }

  std::size_t count() const { return list_.size(); }

  void keep(std::size_t count) {
    restore();
    netsnmp_variable_list*& end = count == 0 ? pdu_.variables : list_[count - 1]->next_variable;
    cut_ = &end;
    rest_ = std::exchange(end, nullptr);
  }

  // How many at the beginning take at most so many octets.
  std::size_t fitting(long octets) const {
    std::size_t count = 0;
    for (; count < list_.size() && octets >= 0; ++count) octets -= sizeOf(*list_[count]);
    return octets < 0 ? count - 1 : count;
  }

 private:
  static long sizeOf(netsnmp_variable_list& varbind) {
    std::size_t size = 0;
    std::size_t length = 0;
    u_char* octets = nullptr;
    snmp_realloc_rbuild_var_op(&octets, &size, &length, 1, varbind.name, &varbind.name_length, varbind.type,
                               varbind.val.string, varbind.val_len);
    std::free(octets);
    return static_cast<long>(length);
  }

  void restore() {
    if (cut_ != nullptr) *std::exchange(cut_, nullptr) = rest_;
  }

  netsnmp_pdu& pdu_;
  std::vector<netsnmp_variable_list*> list_;
  netsnmp_variable_list** cut_ = nullptr;
  netsnmp_variable_list* rest_ = nullptr;
};

/// Writes a message into the library's buffer, which has it at its end.
class Message {
 public:
  Message(netsnmp_session& session, netsnmp_pdu& pdu, u_char*& buffer, std::size_t& size)
      : session_(session),
        pdu_(pdu),
        buffer_(buffer),
        size_(size),
        limit_(current ? current->limit : limitOf(session, pdu)) {}

  bool build() {
    // From the beginning on, the library would write without regard to the buffer's size.
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_REVERSE_ENCODE, 1);
    pdu_.flags &= ~static_cast<u_long>(UCD_MSG_FLAG_FORWARD_ENCODE | UCD_MSG_FLAG_BULK_TOOBIG);
    length_ = 0;
    return snmp_build(&buffer_, &size_, &length_, &session_, &pdu_) == 0;
  }
  bool fits() const { return static_cast<long>(length_) <= limit_; }
  long excess() const { return static_cast<long>(length_) - limit_; }
  std::size_t length() const { return length_; }
  void moveToFront() { std::memmove(buffer_, buffer_ + size_ - length_, length_); }

 private:
  netsnmp_session& session_;
  netsnmp_pdu& pdu_;
  u_char*& buffer_;
  std::size_t& size_;
  const long limit_;
  std::size_t length_ = 0;
};

// Lengths and padding make the rest a little smaller or larger than their parts.
bool buildFewer(Message& message, netsnmp_pdu& pdu) {
  Varbinds varbinds(pdu);
  varbinds.keep(0);
  if (!message.build()) return false;
  std::size_t count = varbinds.fitting(-message.excess());
  do {
    varbinds.keep(count);
    if (!message.build()) return false;
  } while (!message.fits() && count-- > 0);
  return true;
}

bool buildTooBig(Message& message, netsnmp_pdu& pdu) {
  pdu.errstat = SNMP_ERR_TOOBIG;
  pdu.errindex = 0;
  Varbinds varbinds(pdu);
  if (pdu.version != SNMP_VERSION_1) varbinds.keep(0);
  return message.build();
}

// Frees all names but the first.
bool cutNames(netsnmp_pdu& request) {
  if (static_cast<std::size_t>(count_varbinds(request.variables)) <= mostNames) return false;
  snmp_free_varbind(std::exchange(request.variables->next_variable, nullptr));
  return true;
}

bool isAnswer(const netsnmp_pdu& pdu) { return pdu.command == SNMP_MSG_RESPONSE; }

// False where the message cannot be written, or the library is to make tooBig of it.
bool write(Message& message, netsnmp_session& session, netsnmp_pdu& pdu) {
  if (isAnswer(pdu) && pdu.errstat == SNMP_ERR_TOOBIG) return buildTooBig(message, pdu);
  if (!message.build()) return false;
  const bool tooManyNames = current && current->hasTooManyNames;
  if (!isAnswer(pdu) || (message.fits() && !tooManyNames)) return true;
  if (pdu.errstat != SNMP_ERR_NOERROR) return buildTooBig(message, pdu);
  if (current && current->isBulk && !tooManyNames) return buildFewer(message, pdu);
  session.s_snmp_errno = SNMPERR_TOO_LONG;
  return false;
}

}  // namespace

AnsweredRequest::AnsweredRequest(const netsnmp_session& session, netsnmp_pdu& request) noexcept {
  current = Current{.limit = limitOf(session, request),
                    .isBulk = request.command == SNMP_MSG_GETBULK,
                    .hasTooManyNames = cutNames(request)};
  request.msgMaxSize = unlimited;
}

AnsweredRequest::~AnsweredRequest() { current.reset(); }

// Only exhausted memory could throw here, and ends the process.
int buildAnswer(netsnmp_session* session, netsnmp_pdu* pdu, u_char** buffer, std::size_t* size,
                std::size_t* length) noexcept {
  Message message(*session, *pdu, *buffer, *size);
  if (!write(message, *session, *pdu)) return -1;
  if (message.fits()) {
    message.moveToFront();
    *length = message.length();
  } else {
    snmp_increment_statistic(STAT_SNMPSILENTDROPS);
    *length = 0;
  }
  return 0;
}

}  // namespace host
