#include "cli/Terminal.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <iostream>

#include "host/environment/MCStopProcessor.h"
#include "host/files/TemporaryFile.h"
#include "host/render/TextRenderer.h"
#include "host/text/DisplayText.h"

// Three things here are easy to get wrong:
//
//   - A signal must not end the process between two renames of finished files; so it only sets the stop
//     request, which the run looks at where it can clean up.
//   - SIGPIPE is ignored by main(), so writing to a pipe without a reader fails with EPIPE. That is how
//   `head`
//     ends every program, and no error. Any other failure of standard output is one, such as a full disk.
//   - What is printed comes partly from data and from file names. Escape sequences in it must not reach the
//     terminal.

namespace {

// Runs in signal context, where RequestStop() is safe: it stores one lock-free atomic.
void OnInterrupt(int) {
  RequestStop();
}

// Whether standard output is a pipe that its reader has closed: poll() reports an error on its writing end.
bool ReaderHasLeft() {
  pollfd out{.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
  return poll(&out, 1, 0) == 1 && (out.revents & POLLERR) != 0;
}

}  // namespace

void CatchInterrupts() {
  struct sigaction action {};
  action.sa_handler = OnInterrupt;
  action.sa_flags = static_cast<int>(SA_RESETHAND);  // the second signal has its usual effect
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGHUP, &action, nullptr);
}

void TellProblem(const std::string& text) {
  std::cerr << "svselect: " << PrintableText(text) << '\n';
}

// Asked each time: the user may change the size of the window while the program runs.
int TerminalWidth(int descriptor) {
  winsize size{};
  const bool isTerminal = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isTerminal ? size.ws_col : kDefaultTextWidth;
}

void PrintFolded(const std::string& line) {
  constexpr std::size_t kFurtherIn = 4;
  constexpr int kNarrowest = 20;  // a text column isn't folded to less, even on a narrower terminal
  const std::string text = PrintableText(line);
  const int width = TerminalWidth(STDOUT_FILENO);
  if (DisplayWidth(text) <= width) {
    std::cout << text << '\n';
    return;
  }
  const std::size_t indent = std::min(text.find_first_not_of(' '), text.size());
  // The first line could take kFurtherIn columns more; leaving them unused, the text is wrapped in one go.
  const int room = std::max(width - static_cast<int>(indent + kFurtherIn), kNarrowest);
  std::string blanks(indent, ' ');
  for (const std::string& part : WrapText(text.substr(indent), room)) {
    std::cout << blanks << part << '\n';
    blanks.assign(indent + kFurtherIn, ' ');
  }
}

bool FinishOutput() {
  errno = 0;  // a stream that failed earlier has no reason left to report
  std::cout.flush();
  if (std::cout || ReaderHasLeft()) return true;
  TellProblem("standard output can't be written" + (errno == 0 ? "" : ": " + SystemReason()));
  return false;
}
