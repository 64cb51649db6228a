#include "FaultMessage.h"

#include <poll.h>
#include <signal.h>
#include <unistd.h>

namespace host {
namespace {

// It may be the ordinary one that has overflowed.
char stack[16 * 1024];

// May call what is safe in a signal handler, and no more. The signal's own action is back: raised again, it ends the
// process as soon as this returns, with the place of the fault on top of the core dump's stack.
void say(int number) {
  static constexpr char text[] = "ptpsnmpd: error: segmentation fault, perhaps for want of memory\n";
  // Only where it need not wait for a reader: what is to end shall end.
  pollfd writable{.fd = STDERR_FILENO, .events = POLLOUT, .revents = 0};
  if (poll(&writable, 1, 0) == 1) {
    [[maybe_unused]] const auto written = write(STDERR_FILENO, text, sizeof(text) - 1);
  }
  raise(number);
}

}  // namespace

void faultMessageIs() {
  struct sigaction action {};
  if (sigaction(SIGSEGV, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) return;
  stack_t alternate{};
  alternate.ss_sp = stack;
  alternate.ss_size = sizeof(stack);
  sigaltstack(&alternate, nullptr);
  action.sa_handler = say;
  action.sa_flags = static_cast<int>(SA_RESETHAND | SA_ONSTACK);
  sigaction(SIGSEGV, &action, nullptr);
}

}  // namespace host
