// Searches, comparisons, fields and byte fills on plain strings.
#include <gtest/gtest.h>

#include "fileutil/view_const.h"

namespace {

using namespace ViewConst;

TEST(FileutilText, SearchesCountBytesFromOne) {
  EXPECT_EQ(Pos("B", "abc"), 2);
  EXPECT_EQ(Pos("<html>", "x<HTML>y"), 2);
  EXPECT_EQ(Pos("z", "abc"), 0);
  EXPECT_EQ(Pos("", "abc"), 0);
  EXPECT_EQ(PosAfter("a", "abcabc", 2, false), 4);
  EXPECT_EQ(PosAfter("a", "abcabc", 4, false), 4);
  EXPECT_EQ(PosAfter("a", "abcabc", 5, false), 0);
  EXPECT_EQ(PosAfter("a", "abcabc", 0, false), 1);
  EXPECT_EQ(PosAfter("A", "abcAbc", 1, true), 4);  // exact case
  EXPECT_EQ(PosAfter("x", "\xC3\xA9x", 1, true), 3);
  EXPECT_TRUE(NonCaseMatch("Data#End", "DATA#end"));
  EXPECT_FALSE(NonCaseMatch("abc", "abcd"));
}

TEST(FileutilText, FieldsAreNumberedFromOne) {
  EXPECT_EQ(FindField("a,B,c,b", ",", "b"), 2);
  EXPECT_EQ(FindField("a,B,c", ",", "d"), 0);
  EXPECT_EQ(FindField("", ",", ""), 0);
  EXPECT_EQ(FindField("a,,c", ",", ""), 2);
  EXPECT_EQ(FindField("one$|~two$|~three", "$|~", "THREE"), 3);
  EXPECT_EQ(NthField("a|#|b|#|c", "|#|", 3), "c");
  EXPECT_EQ(NthField("a|#|b|#|c", "|#|", 4), "");
  EXPECT_EQ(NthField("a|#|b|#|c", "|#|", 0), "");
  EXPECT_EQ(CountFields("a|b|", "|"), 3);
  EXPECT_EQ(CountFields("", "|"), 0);
}

TEST(FileutilText, ReplaceCh1WithCh2WorksOnBytesOfEitherCase) {
  EXPECT_EQ(ReplaceCh1WithCh2("AaAa", "a", "x"), "xxxx");
  EXPECT_EQ(ReplaceCh1WithCh2("line|two", "|", "\n"), "line\ntwo");
  EXPECT_EQ(ReplaceCh1WithCh2("a-b", "-", "xyz"), "axb");  // one byte only
  EXPECT_EQ(ReplaceCh1WithCh2("abc", "", "x"), "abc");
  EXPECT_EQ(ReplaceCh1WithCh2("", "a", "b"), "");
  // The result ends at the first NUL byte.
  EXPECT_EQ(ReplaceCh1WithCh2("a-b-c", "-", ""), "a");
  EXPECT_EQ(ReplaceCh1WithCh2(std::string("ab\0cd", 5), "a", "z"), "zb");
  EXPECT_EQ(ReplaceAll("UserAccount/x/useraccount/", "UserAccount/", "/h/"), "/h/x//h/");
  EXPECT_EQ(ReplaceAll("aaa", "aa", "b"), "ba");
  EXPECT_EQ(ReplaceAll("abc", "", "x"), "abc");
}

TEST(FileutilText, FillStringAndVal) {
  EXPECT_EQ(FillString("FA", 3), "FFF");
  EXPECT_EQ(FillString("F", 0), "");
  EXPECT_EQ(FillString("", 3), "");
  // U+00E9 is one character of code 0xE9; U+0141 keeps its low 8 bits.
  EXPECT_EQ(FillString("\xC3\xA9", 2), "\xE9\xE9");
  EXPECT_EQ(FillString("\xC5\x81", 1), "\x41");

  EXPECT_EQ(Val("  17 apples"), 17);
  EXPECT_EQ(Val("-3.9"), -3);
  EXPECT_EQ(Val("2.5e1"), 25);
  EXPECT_EQ(Val("7e"), 7);
  EXPECT_EQ(Val("abc"), 0);
  EXPECT_EQ(Val("1$|~2"), 1);
  EXPECT_EQ(Val("99999999999999999999999"), INT64_MAX);
}

}  // namespace
