#pragma once

#include <string>
#include <utility>

// The session's current command, a layer of the session.
class SessionCommand {
public:
  // `source` is the word for the command in the host's own errors, such as the name of the command file.
  void SetCommand(std::string text, std::string source = "Command") {
    fText = std::move(text);
    fSource = std::move(source);
  }

  const std::string& Text() const { return fText; }
  const std::string& Source() const { return fSource; }

private:
  std::string fText;
  std::string fSource = "Command";
};
