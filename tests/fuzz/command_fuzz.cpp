// Any bytes as a command: it is read, or refused with one message, and the readers of each parameter never
// contradict each other.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Require.h"
#include "host/command/CommandSpec.h"
#include "host/command/KORV_TokenSequence.h"
#include "host/command/UniversalParser.h"
#include "host/environment/CommonBlocks.h"
#include "host/environment/HostSession.h"
#include "host/output/OutputDocument.h"

namespace {

void CheckParameter(const ParamObj& parameter) {
  std::string text;
  double number = 0.0;
  std::vector<double> numbers;
  std::vector<KorvVarName> names;
  std::vector<TokenInfoObj> tokens;
  const bool isLiteral = parameter.getLiteral(text);
  const bool isWord = parameter.getStringGeneric(text);
  const bool isNumber = parameter.getNumberValue(number);
  const bool isNumberList = parameter.getNumberList(numbers);
  const bool isVarList = parameter.getVarList(names);
  const bool hasTokens = parameter.getTokenList(tokens);
  Require(!(parameter.isLeadingToken() && hasTokens));
  Require(isLiteral + isWord + isNumber <= 1);
  Require(parameter.getUpStringGeneric(text) == isWord);
  if (isLiteral || isWord || isNumber) Require(tokens.size() == 1);
  if (isNumber) Require(isNumberList && numbers.size() == 1 && numbers.front() == number);
  if (isNumberList) Require(isVarList && numbers.size() == tokens.size());
  if (isVarList) Require(names.size() == tokens.size());
  for (const TokenInfoObj& token : tokens) Require(!(isVarList && token.getOperatorCode() == kOperatorAll));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static HostSession session;
  const auto issued = [&document = OutputDocument::Current()] {
    return document.FurtherMessages() + static_cast<std::int64_t>(document.Messages().size());
  };
  const std::int64_t before = issued();
  pvGetCmnGlb()->errorFlag = 0;

  session.Layer<SessionCommand>().SetCommand(std::string(reinterpret_cast<const char*>(data), size));
  const KORV_TokenSequence tokens(true);
  CommandSpec spec;
  const bool isRead = UniversalParser(tokens, spec).getCommandSpecifications() == 0;
  Require(isRead == (pvGetCmnGlb()->errorFlag == 0));
  Require(issued() == before ||
          (!isRead && issued() == before + 1));  // a message met often before is only counted
  for (std::size_t i = 0; i < spec.getSubComListSize(); ++i) {
    const SubComObj& subcommand = *spec.getSubComObj(i);
    for (std::size_t p = 0; p < subcommand.getParamListSize(); ++p)
      CheckParameter(*subcommand.getParamObj(p));
  }
  return 0;
}
