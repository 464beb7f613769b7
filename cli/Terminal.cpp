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

namespace {

void OnInterrupt(int) {
  RequestStop();
}

// Standard output is a pipe whose reader has seen enough.
bool ReaderHasLeft() {
  pollfd out{.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
  return poll(&out, 1, 0) == 1 && (out.revents & POLLERR) != 0;
}

}  // namespace

void CatchInterrupts() {
  struct sigaction action {};
  action.sa_handler = OnInterrupt;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGHUP, &action, nullptr);
}

void TellProblem(const std::string& text) {
  std::cerr << "svselect: " << PrintableText(text) << '\n';
}

int TerminalWidth(int descriptor) {
  winsize size{};
  const bool isTerminal = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isTerminal ? size.ws_col : kDefaultTextWidth;
}

void PrintFolded(const std::string& line) {
  constexpr std::size_t kFurtherIn = 4;
  constexpr int kNarrowest = 20;
  const std::string text = PrintableText(line);
  const int width = TerminalWidth(STDOUT_FILENO);
  if (DisplayWidth(text) <= width) {
    std::cout << text << '\n';
    return;
  }
  const std::size_t indent = std::min(text.find_first_not_of(' '), text.size());
  // The first line has more room than the others, which is left: the text is wrapped once.
  const int room = std::max(width - static_cast<int>(indent + kFurtherIn), kNarrowest);
  std::string blanks(indent, ' ');
  for (const std::string& part : WrapText(text.substr(indent), room)) {
    std::cout << blanks << part << '\n';
    blanks.assign(indent + kFurtherIn, ' ');
  }
}

bool FinishOutput() {
  errno = 0;
  std::cout.flush();
  if (std::cout || ReaderHasLeft()) return true;
  TellProblem("standard output can't be written" + (errno == 0 ? "" : ": " + SystemReason()));
  return false;
}
