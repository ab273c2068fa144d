// Reading INI texts.
#include "server/IniFile.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace orvo {
namespace {

// "<none>" for a key that is not there.
std::string Value(std::string_view text, std::string_view section, std::string_view key) {
  return IniFile::Parse(text).Value(section, key).value_or("<none>");
}

// "line:key=value" of each entry of a section, joined by "|".
std::string Entries(const IniFile& file, std::string_view section) {
  std::string joined;
  for (const IniFile::Entry& entry : file.Entries(section)) {
    if (!joined.empty()) joined += '|';
    joined += std::to_string(entry.line) + ":" + entry.key + "=" + entry.value;
  }
  return joined;
}

TEST(IniFile, AnEmptyTextHasNoSectionAndNoKey) {
  for (const IniFile& file : {IniFile(), IniFile::Parse(""), IniFile::Parse("\n\n"), IniFile::Parse("  \t ")}) {
    EXPECT_FALSE(file.HasSection("Drivers"));
    EXPECT_FALSE(file.HasSection(""));
    EXPECT_FALSE(file.Value("Drivers", "1").has_value());
    EXPECT_TRUE(file.Entries("Drivers").empty());
  }
}

TEST(IniFile, GivesEachValueByItsSectionAndKey) {
  const IniFile file = IniFile::Parse("[A]\n1=one\n2=two\n[B]\n1=other\n");
  EXPECT_EQ(file.Value("A", "1"), "one");
  EXPECT_EQ(file.Value("A", "2"), "two");
  EXPECT_EQ(file.Value("B", "1"), "other");
  EXPECT_FALSE(file.Value("B", "2").has_value());
  EXPECT_FALSE(file.Value("C", "1").has_value());
  EXPECT_TRUE(file.HasSection("A"));
  EXPECT_TRUE(file.HasSection("B"));
  EXPECT_FALSE(file.HasSection("C"));
  EXPECT_EQ(Entries(file, "A"), "2:1=one|3:2=two");
  EXPECT_EQ(Entries(file, "B"), "5:1=other");
  EXPECT_EQ(Entries(file, "C"), "");
}

TEST(IniFile, NamesAreMatchedAsTheFileSpellsThem) {
  constexpr std::string_view text = "[Drivers]\nDataCommunication=x\n";
  EXPECT_EQ(Value(text, "Drivers", "DataCommunication"), "x");
  EXPECT_EQ(Value(text, "drivers", "DataCommunication"), "<none>");
  EXPECT_EQ(Value(text, "Drivers", "datacommunication"), "<none>");
  EXPECT_EQ(Value(text, "Drivers", "DataCommunication "), "<none>");
  EXPECT_EQ(Value(text, "Drivers", ""), "<none>");
}

TEST(IniFile, EachFormOfALine) {
  const struct {
    const char* line;
    const char* key;
    const char* value;
  } rows[] = {
      {"k=v", "k", "v"},
      {"  k  =  v w  ", "k", "v w"},
      {"\tk\t=\tv\t", "k", "v"},
      {"k=", "k", ""},
      {"k=   ", "k", ""},
      {"=v", "", "v"},
      {"k=a=b=c", "k", "a=b=c"},
      {"k==v", "k", "=v"},
      {"two words=v", "two words", "v"},
      {"k=v ; no comment", "k", "v ; no comment"},
      {"k=#1#2#", "k", "#1#2#"},
      {"k=\"v\"", "k", "\"v\""},
      {"k=[v]", "k", "[v]"},
      {"[k=v", "[k", "v"},
      {"; k=v", "k", "<none>"},
      {"# k=v", "k", "<none>"},
      {"  ;k=v", "k", "<none>"},
      {"\t#k=v", "k", "<none>"},
      {";k=v", ";k", "<none>"},
      {"k", "k", "<none>"},
      {"k:v", "k", "<none>"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    EXPECT_EQ(Value(std::string("[S]\n") + row.line, "S", row.key), row.value);
    EXPECT_EQ(Value(std::string("[S]\n") + row.line + "\nlast=1", "S", "last"), "1");
  }
}

TEST(IniFile, CommentsAndOtherLinesAreNoEntries) {
  for (const char* line :
       {"; k=v", "# k=v", "  ;k=v", "\t#k=v", ";k=v", "#k=v", ";[T]", "#[T]", "k", "k:v", ""}) {
    SCOPED_TRACE(line);
    const IniFile file = IniFile::Parse(std::string("[S]\n") + line + "\nlast=1\n");
    EXPECT_EQ(Entries(file, "S"), "3:last=1");
  }
}

TEST(IniFile, EachFormOfASectionLine) {
  const struct {
    const char* line;
    const char* section;
    bool found;
  } rows[] = {
      {"[S]", "S", true},  {"  [S]  ", "S", true}, {"[ S ]", "S", true},    {"[Two words]", "Two words", true},
      {"[]", "", true},    {"[a]b]", "a]b", true}, {"[[S]]", "[S]", true},  {"[Group:1=2]", "Group:1=2", true},
      {"[S", "S", false},  {"S]", "S", false},     {"[S] ; c", "S", false}, {";[S]", "S", false},
      {"[s]", "S", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    const IniFile file = IniFile::Parse(std::string(row.line) + "\nk=v\n");
    EXPECT_EQ(file.HasSection(row.section), row.found);
    EXPECT_EQ(file.Value(row.section, "k").has_value(), row.found);
  }
}

TEST(IniFile, EntriesBeforeTheFirstSectionArePassedOver) {
  const IniFile file = IniFile::Parse("k=v\n[S]\nk=w\n");
  EXPECT_EQ(file.Value("S", "k"), "w");
  EXPECT_FALSE(file.HasSection(""));
  EXPECT_FALSE(file.Value("", "k").has_value());
}

TEST(IniFile, LinesMayEndInCrLfOrLfAndTheLastOneInNothing) {
  for (const char* text :
       {"[S]\r\na=1\r\n\r\nb=2\r\n", "[S]\na=1\n\nb=2\n", "[S]\r\na=1\n\nb=2", "[S]\na=1\n\r\nb=2\r"}) {
    SCOPED_TRACE(text);
    const IniFile file = IniFile::Parse(text);
    EXPECT_EQ(file.Value("S", "a"), "1");
    EXPECT_EQ(Entries(file, "S"), "2:a=1|4:b=2");
  }
}

TEST(IniFile, AByteOrderMarkDoesNotBelongToTheFirstLine) {
  EXPECT_EQ(Value("\xEF\xBB\xBF[S]\nk=v", "S", "k"), "v");
  EXPECT_EQ(Value("\xEF\xBB\xBF", "S", "k"), "<none>");
  EXPECT_EQ(Value("[S]\nk=\xEF\xBB\xBFv", "S", "k"), "\xEF\xBB\xBFv");
}

TEST(IniFile, TextsMayBeUtf8OrWindows1252) {
  EXPECT_EQ(Value("[Anl\xC3\xA4ge]\nGr\xC3\xB6\xC3\x9F"
                  "e=5 \xE2\x82\xAC",
                  "Anl\xC3\xA4ge",
                  "Gr\xC3\xB6\xC3\x9F"
                  "e"),
            "5 \xE2\x82\xAC");
  EXPECT_EQ(Value("[Anl\xE4ge]\nGr\xF6\xDF"
                  "e=5 \x80",
                  "Anl\xC3\xA4ge",
                  "Gr\xC3\xB6\xC3\x9F"
                  "e"),
            "5 \xE2\x82\xAC");
}

TEST(IniFile, AMarkDoesNotMakeOtherBytesUtf8) {
  EXPECT_EQ(Value("\xEF\xBB\xBF[S]\nk=\xE4", "S", "k"), "\xC3\xA4");
}

TEST(IniFile, ARepeatedKeyIsHiddenByItsFirstAndListedWithIt) {
  const IniFile file = IniFile::Parse("[S]\nk=first\nK=other\nk=second\n");
  EXPECT_EQ(file.Value("S", "k"), "first");
  EXPECT_EQ(file.Value("S", "K"), "other");
  EXPECT_EQ(Entries(file, "S"), "2:k=first|3:K=other|4:k=second");
}

TEST(IniFile, ARepeatedSectionAddsToItsFirst) {
  const IniFile file = IniFile::Parse("[S]\na=1\n[T]\na=2\n[S]\nb=3\na=4\n");
  EXPECT_EQ(Entries(file, "S"), "2:a=1|6:b=3|7:a=4");
  EXPECT_EQ(Entries(file, "T"), "4:a=2");
  EXPECT_EQ(file.Value("S", "a"), "1");
  EXPECT_EQ(file.Value("S", "b"), "3");
}

TEST(IniFile, AnEmptySectionIsThereWithoutEntries) {
  const IniFile file = IniFile::Parse("[S]\n[T]\n");
  EXPECT_TRUE(file.HasSection("S"));
  EXPECT_TRUE(file.HasSection("T"));
  EXPECT_TRUE(file.Entries("S").empty());
}

TEST(IniFile, AnyBytesAreAnIniText) {
  std::string every;
  for (int round = 0; round < 3; ++round)
    for (int code = 0; code < 256; ++code)
      every += static_cast<char>(code);
  const IniFile file = IniFile::Parse("[S]\n" + every + "\nlast=1");
  EXPECT_EQ(file.Value("S", "last"), "1");
  EXPECT_EQ(Value(std::string("[S]\nk=a\0b", 9), "S", "k"), std::string("a\0b", 3));
}

TEST(IniFile, ALongTextIsReadInOneGo) {
  std::string text = "[S]\n";
  constexpr int Count = 100000;
  for (int k = 0; k < Count; ++k)
    text += "key" + std::to_string(k) + "=" + std::to_string(k) + "\n";
  const IniFile file = IniFile::Parse(text);
  EXPECT_EQ(file.Entries("S").size(), static_cast<std::size_t>(Count));
  EXPECT_EQ(file.Value("S", "key99999"), "99999");
}

}  // namespace
}  // namespace orvo
