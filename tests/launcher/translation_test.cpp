#include "launcher/translation.h"

#include "base/text.h"
#include "tests/components.h"

namespace {

// Knows the texts of its dictionary and echoes others.
class Translation : public Machine {
 protected:
  const std::map<std::wstring, std::wstring> m_dictionary{{L"a", L"b"},
                                                          {L"empty", L""},
                                                          {L"c\r\nd", L""},
                                                          {L"c@@vbcrlf@@d", L"found"},
                                                          {L"x@@vbcrlf@@y", L"u@@vbcrlf@@v"}};
  Component m_translator{L"NorvakTranslator.Language",
                         {{L"translateit", [this](const Arguments& arguments) -> _variant_t {
                             const auto text = text_Of(arguments.at(0));
                             if (text.ends_with(L"broken"))
                               throw HRESULT{E_FAIL};
                             const auto found = m_dictionary.find(text);
                             return found == m_dictionary.end() ? text.c_str() : found->second.c_str();
                           }}}};
};

TEST_F(Translation, LooksUpPlainAndEscapedTexts) {
  // Each row: a text, its translation and how often the translator is asked.
  for (const auto* row : {L"a>b>1", L"a>b>0", L"empty>empty>1", L"c\r\nd>found>2", L"a>b>1", L"x\ty>u\r\nv>2",
                          L"un\r\nknown>un\r\nknown>2", L"un\tknown>un\r\nknown>2", L"broken>broken>1",
                          L">>1", L"broken>broken>0"}) {
    const auto fields = split(row, L'>');
    const auto before = calls(L"translateit").size();
    EXPECT_EQ(translate_String(fields[0]), fields[1]);
    EXPECT_EQ(std::to_wstring(calls(L"translateit").size() - before), fields[2]) << row;
  }
  EXPECT_EQ(calls(L"+"), Lines{L"+NorvakTranslator.Language"});
}

TEST_F(Translation, PassesTextsThroughUntilATranslatorLives) {
  m_translator->IsCreatable = false;
  EXPECT_FALSE(load_Translator());
  EXPECT_EQ(translate_String(L"a"), L"a");
  m_translator->IsCreatable = true;
  for (const auto& dead : {fails(), answers(0L), answers(-1L), answers(L"text")}) {
    m_translator->Table[L"info"] = dead;
    EXPECT_EQ(translate_String(L"a"), L"a");
  }
  EXPECT_EQ(calls(L"+").size(), 4u);
  EXPECT_EQ(calls(L"-").size(), 3u);
  m_translator->Table[L"info"] = answers(L"1");
  EXPECT_EQ(translate_String(L"a"), L"b");
  EXPECT_EQ(calls(L"translateit"), Lines{L"translateit(a)"});
  // A release asks once whether it is alive, also when that very answer releases it again, and then lets it
  // go.
  for (const std::size_t released : {4, 5}) {
    EXPECT_TRUE(load_Translator());
    int asked = 0;
    m_translator->Table[L"info"] = [&asked](const Arguments&) {
      if (++asked < 9)
        release_Translator();
      return _variant_t(1L);
    };
    release_Translator();
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(calls(L"-").size(), released);
    m_translator->Table[L"info"] = answers(1L);
  }
}

}  // namespace
