#include <fmt/format.h>

#include "host/command/CommandSpec.h"
#include "host/command/KORV_TokenSequence.h"
#include "host/command/UniversalParser.h"
#include "host/environment/CommonBlocks.h"
#include "host/environment/HostSession.h"
#include "host/output/OutputDocument.h"

namespace {

// What each reader answers: L literal, G and U word, N number, n numbers, V names, T operator codes.
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
  if (parameter.getNumberValue(number)) text += fmt::format("N<{}>", number);
  if (parameter.getNumberList(numbers)) text += fmt::format("n<{}>", fmt::join(numbers, " "));
  if (parameter.getVarList(names)) {
    text += 'V';
    for (const KorvVarName& name : names) text += '<' + name.Text() + '>';
  }
  if (parameter.getTokenList(tokens)) {
    text += 'T';
    for (const TokenInfoObj& token : tokens) text += fmt::format("<{}>", token.getOperatorCode());
  }
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
    const char* aim;
    std::string command;
    const char* parts;
  };
  const Case kCases[] = {
      {"nothing", "", ""},
      {"the name alone", "\xEF\xBB\xBFsvSelect .\r\n", ""},
      {"name and full stop left out", "/print cps", "/PRINT CPS!"},
      {"a full stop right behind a word", "SVSELECT /PRINT CPS.", "/PRINT CPS!"},
      {"only the last full stop", "/PLAN FILE='a.xml.' /PRINT a.b..", "/PLAN FILE=L<a.xml.>T<0>/PRINT A.B.!"},
      {"no parameters", "SVSELECT /PLAN/XYZ", "/PLAN/XYZ"},
      {"text before the first slash", "SVSELECT CPS A=1", "/ CPS! A=N<1>n<1>V<1>T<0>"},
      {"another command", "OTHER /PLAN", "/ OTHER!/PLAN"},
      {"the name as a parameter", "SVSELECT=1", "/ SVSELECT=N<1>n<1>V<1>T<0>"},
      {"slashes without a name", "//'x' /", "// 'x'!/"},
      {"parentheses", "/PLAN (FILE='x') /A=( b )/C()", "/PLAN() FILE=L<x>T<0>/A=() B!/C()"},
      {"= behind the name", "/PLAN = FILE='x'", "/PLAN= FILE=L<x>T<0>"},
      {"blanks, commas, line ends", "/A\r\tb,c =\n x ,y", "/A B! C=V<x><y>T<0><0>"},
      {"a quoted keyword is none", "/PRINT 'CPS'", "/PRINT 'CPS'!"},
      {"quotes", R"(/A b='it''s' c="say ""'no'""" d='a' 'b' e='' f=a'b')",
       "/A B=L<it's>T<0> C=L<say \"'no'\">T<0> D=T<0><0> E=L<>T<0> F=T<0><0>"},
      {"a string over two lines", "/A b='x\ny'", "/A B=L<x\ny>T<0>"},
      {"no value", "/A b= c=1 d=", "/A B= C=N<1>n<1>V<1>T<0> D="},
      {"a value takes the words up to the next =", "/P SELECTION=1 CPS x=2",
       "/P SELECTION=V<1><CPS>T<0><0> X=N<2>n<2>V<2>T<0>"},
      {"stages", "/C STAGES=2 3 SEED=RanDom",
       "/C STAGES=n<2 3>V<2><3>T<0><0> SEED=G<RanDom>U<RANDOM>V<RanDom>T<0>"},
      {"stages not a list of numbers", "/C STAGES=1 'x'", "/C STAGES=T<0><0>"},
      {"names, legal or not", "/S KEEP=a 1b Ä_ DROP=5 a",
       "/S KEEP=V<a><1b><Ä_>T<0><0><0> DROP=V<5><a>T<0><0>"},
      {"ALL", "/S A=All B=a all C='ALL'", "/S A=G<All>U<ALL>T<35> B=T<0><35> C=L<ALL>T<0>"},
      {"upper case of any script", "/s größe=straße", "/S GRÖßE=G<straße>U<STRAßE>V<straße>T<0>"},
      {"numbers", "/C a=+1.5e3 b=-.5 c=2. d=0",
       "/C A=N<1500>n<1500>V<+1.5e3>T<0> B=N<-0.5>n<-0.5>V<-.5>T<0> "
       "C=N<2>n<2>V<2.>T<0> D=N<0>n<0>V<0>T<0>"},
      {"no numbers", "/C a=1e999 b=nan c=-inf d=0x1 e=+-1 f='1' g=-",
       "/C A=G<1e999>U<1E999>V<1e999>T<0> B=G<nan>U<NAN>V<nan>T<0> C=G<-inf>U<-INF>V<-inf>T<0> "
       "D=G<0x1>U<0X1>V<0x1>T<0> E=G<+-1>U<+-1>V<+-1>T<0> F=L<1>T<0> G=G<->U<->V<->T<0>"},
  };
  for (const Case& c : kCases) EXPECT_EQ(Parse(c.command), c.parts) << c.aim;
}

TEST(UniversalParser, SaysWhereACommandCannotBeRead) {
  struct Case {
    std::string command;
    const char* message;
  };
  const Case kCases[] = {
      {"/PLAN FILE='x", "job.txt, line 1, column 12: a quote that isn't closed"},
      {"/PLAN\n FILE=\"it''s.", "job.txt, line 2, column 7: a quote that isn't closed"},
      {"/größe 東 \x01", "job.txt, line 1, column 10: a control character"},
      {std::string("/A b='x\0y'", 10), "job.txt, line 1, column 8: a control character"},
      {"\r\n\r\n\n/A =\r=b", "job.txt, line 5, column 1: \"=\" can't stand here"},
      {"/A b==c", "job.txt, line 1, column 6: \"=\" can't stand here"},
      {"/A 'x'=c", "job.txt, line 1, column 7: \"=\" can't stand here"},
      {"/ = c", "job.txt, line 1, column 3: \"=\" can't stand here"},
      {"= c", "job.txt, line 1, column 1: \"=\" can't stand here"},
      {"/A b=(1 2)", "job.txt, line 1, column 6: \"(\" can't stand here"},
      {"/A ((b))", "job.txt, line 1, column 5: \"(\" can't stand here"},
      {"/A b)", "job.txt, line 1, column 5: \")\" can't stand here"},
      {"/A (b) " + std::string(60, 'x'),
       "job.txt, line 1, column 8: \"xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx...\" can't stand here"},
      {"/A (b) " + std::string(39, 'x') + "東東",  // cut at 40 bytes, within a character
       "job.txt, line 1, column 8: \"xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx...\" can't stand here"},
      {"/A (b /C", "job.txt, line 1, column 4: a parenthesis that isn't closed"},
      {"/A (", "job.txt, line 1, column 4: a parenthesis that isn't closed"},
  };
  for (const Case& c : kCases) EXPECT_EQ(Parse(c.command), c.message) << c.command;
}

// A million words, separators, quotes or signs: read, or refused at the right place, with nothing nested.
TEST(UniversalParser, ReadsLongCommands) {
  constexpr std::size_t kMany = 1000000;
  std::string words;
  for (std::size_t i = 0; i < kMany; ++i) words += " a";
  HostSession session;
  session.Layer<SessionCommand>().SetCommand("/A" + words + " k=" + words + std::string(kMany, ','));
  CommandSpec spec;
  ASSERT_EQ(UniversalParser(KORV_TokenSequence(true), spec).getCommandSpecifications(), 0);
  ASSERT_EQ(spec.getSubComObj(0)->getParamListSize(), kMany + 1);
  std::vector<KorvVarName> names;
  EXPECT_TRUE(spec.getSubComObj(0)->getParamObj(kMany)->getVarList(names));
  EXPECT_EQ(names.size(), kMany);
  OutputDocument::Current();  // takes the messages
  for (const char* sign : {"(", ")", "=", "\x02", "'"}) {
    session.Layer<SessionCommand>().SetCommand(std::string(kMany + 1, sign[0]));
    CommandSpec other;
    EXPECT_NE(UniversalParser(KORV_TokenSequence(true), other).getCommandSpecifications(), 0) << sign;
  }
}
