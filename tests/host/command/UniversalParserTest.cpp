#include <fmt/format.h>

#include "host/command/CommandSpec.h"
#include "host/command/KORV_TokenSequence.h"
#include "host/command/UniversalParser.h"
#include "host/environment/CommonBlocks.h"
#include "host/environment/HostSession.h"
#include "host/output/OutputDocument.h"

namespace {

// What each reader answers: L literal, G and U word, N number, n more than one, V names, T operator codes
// other than 0.
std::string Describe(const ParamObj& parameter) {
  std::string text = ' ' + parameter.getParamName();
  if (parameter.isLeadingToken()) return text + '!';
  text += '=';
  std::string word;
  double number = 0.0;
  std::vector<double> numbers;
  std::vector<KorvVarName> names;
  std::vector<TokenInfoObj> tokens;
  if (parameter.getLiteral(word)) text += "L<" + word + '>';
  if (parameter.getStringGeneric(word)) text += "G<" + word + '>';
  if (parameter.getUpStringGeneric(word)) text += "U<" + word + '>';
  const bool isNumber = parameter.getNumberValue(number);
  if (isNumber) text += fmt::format("N<{}>", number);
  EXPECT_TRUE(parameter.getNumberList(numbers) || !isNumber);
  if (numbers.size() > 1) text += fmt::format("n<{}>", fmt::join(numbers, " "));
  if (parameter.getVarList(names)) {
    text += 'V';
    for (const KorvVarName& name : names) text += '<' + name.Text() + '>';
  }
  EXPECT_TRUE(parameter.getTokenList(tokens));
  for (const TokenInfoObj& token : tokens)
    if (token.getOperatorCode() != 0) text += fmt::format("T<{}>", token.getOperatorCode());
  return text;
}

std::string Describe(const CommandSpec& spec) {
  std::string text;
  for (std::size_t i = 0; i < spec.getSubComListSize(); ++i) {
    const SubComObj& subcommand = *spec.getSubComObj(i);
    text += '/' + subcommand.getSubComName();
    if (subcommand.isEqualUsed()) text += '=';
    if (subcommand.areParenUsed()) text += "()";
    for (std::size_t p = 0; p < subcommand.getParamListSize(); ++p)
      text += Describe(*subcommand.getParamObj(p));
    EXPECT_EQ(subcommand.getParamObj(subcommand.getParamListSize()), nullptr);
  }
  EXPECT_EQ(spec.getSubComObj(spec.getSubComListSize()), nullptr);
  return text;
}

// The command's parts, or the one message.
std::string Parse(const std::string& command) {
  HostSession session;
  OutputDocument& document = OutputDocument::Current();
  session.Layer<SessionCommand>().SetCommand(command, "job.txt");
  const KORV_TokenSequence tokens(true);
  CommandSpec spec;
  const bool isRead = UniversalParser(tokens, spec).getCommandSpecifications() == 0;
  EXPECT_EQ(document.Messages().size(), isRead ? 0U : 1U);
  EXPECT_EQ(pvGetCmnGlb()->errorFlag, isRead ? 0 : 1);
  return isRead ? Describe(spec) : document.Messages().front().text;
}

}  // namespace

TEST(UniversalParser, CutsCommands) {
  struct Case {
    std::string aim, command, parts;
  };
  const Case kCases[] = {
      {"the name alone", "\xEF\xBB\xBFsvSelect .\r\n", ""},
      {"another command", "OTHER /PLAN", "/ OTHER!/PLAN"},
      {"name and full stop left out", "/print cps", "/PRINT CPS!"},
      {"a full stop right behind a word", "SVSELECT /PRINT CPS.", "/PRINT CPS!"},
      {"only the last full stop", "/PLAN FILE='a.xml.' /PRINT a.b..", "/PLAN FILE=L<a.xml.>/PRINT A.B.!"},
      {"text before the first slash", "SVSELECT CPS A=1", "/ CPS! A=N<1>V<1>"},
      {"the name as a parameter", "SVSELECT=1", "/ SVSELECT=N<1>V<1>"},
      {"parentheses", "/PLAN (FILE='x') /A=( b )/C()", "/PLAN() FILE=L<x>/A=() B!/C()"},
      {"blanks, commas, line ends", "/A\r\tb,c =\n x ,y", "/A B! C=V<x><y>"},
      {"a quoted keyword is none", "/PRINT 'CPS'", "/PRINT 'CPS'!"},
      {"quotes", R"(/A b='it''s' c="say ""'no'""" d='a' 'b' e='' f=a'b')",
       "/A B=L<it's> C=L<say \"'no'\"> D= E=L<> F="},
      {"stages", "/C STAGES=2 3 SEED=RanDom", "/C STAGES=n<2 3>V<2><3> SEED=G<RanDom>U<RANDOM>V<RanDom>"},
      {"names, legal or not", "/S KEEP=a 1b Ä_ DROP=5 a", "/S KEEP=V<a><1b><Ä_> DROP=V<5><a>"},
      {"ALL", "/S A=All B=a all C='ALL'", "/S A=G<All>U<ALL>T<35> B=T<35> C=L<ALL>"},
      {"upper case of any script", "/s größe=straße", "/S GRÖßE=G<straße>U<STRAßE>V<straße>"},
      {"numbers", "/C a=+1.5e3 b=-.5 c=2. d=0",
       "/C A=N<1500>V<+1.5e3> B=N<-0.5>V<-.5> "
       "C=N<2>V<2.> D=N<0>V<0>"},
      {"no numbers", "/C a=1e999 b=nan c=-inf d=0x1 e=+-1 f='1' g=-",
       "/C A=G<1e999>U<1E999>V<1e999> B=G<nan>U<NAN>V<nan> C=G<-inf>U<-INF>V<-inf> "
       "D=G<0x1>U<0X1>V<0x1> E=G<+-1>U<+-1>V<+-1> F=L<1> G=G<->U<->V<->"},
  };
  for (const Case& c : kCases) EXPECT_EQ(Parse(c.command), c.parts) << c.aim;
}

TEST(UniversalParser, SaysWhereACommandCannotBeRead) {
  const std::pair<std::string, std::string> kCases[] = {
      {"/PLAN FILE='x", "1, column 12: a quote that isn't closed"},
      {"/PLAN\n FILE=\"it''s.", "2, column 7: a quote that isn't closed"},
      {"/größe 東 \x01", "1, column 10: a control character"},
      {std::string("/A b='x\0y'", 10), "1, column 8: a control character"},
      {"\r\n\r\n\n/A =\r=b", "5, column 1: \"=\" can't stand here"},
      {"/A 'x'=c", "1, column 7: \"=\" can't stand here"},
      {"/ = c", "1, column 3: \"=\" can't stand here"},
      {"/A b=(1 2)", "1, column 6: \"(\" can't stand here"},
      {"/A ((b))", "1, column 5: \"(\" can't stand here"},
      {"/A b)", "1, column 5: \")\" can't stand here"},
      {"/A (b) " + std::string(39, 'x') + "東東",  // cut at 40 bytes, within a character
       "1, column 8: \"xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx...\" can't stand here"},
      {"/A (b /C", "1, column 4: a parenthesis that isn't closed"},
  };
  for (const auto& [command, fault] : kCases) EXPECT_EQ(Parse(command), "job.txt, line " + fault) << command;
}
