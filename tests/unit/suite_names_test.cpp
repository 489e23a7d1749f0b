// The test list reads as what it tests: a parametrized test names its case,
// never "24-byte object <...>" or a bare index.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <string>

namespace {

TEST(TestSuiteNames, EveryParametrizedCaseHasAReadableNameAndValue) {
  const auto& unit = *::testing::UnitTest::GetInstance();
  int parametrized = 0;
  for (int i = 0; i < unit.total_test_suite_count(); ++i) {
    const auto& suite = *unit.GetTestSuite(i);
    for (int j = 0; j < suite.total_test_count(); ++j) {
      const auto& test = *suite.GetTestInfo(j);
      if (!test.value_param()) continue;
      ++parametrized;
      const std::string name = test.name(), value = test.value_param();
      const std::string last = name.substr(name.rfind('/') + 1);
      EXPECT_FALSE(std::all_of(last.begin(), last.end(), [](unsigned char c) { return std::isdigit(c); }))
          << suite.name() << "." << name;
      EXPECT_EQ(value.find("-byte object"), std::string::npos) << suite.name() << "." << name << ": " << value;
    }
  }
  EXPECT_GT(parametrized, 0);
}

}  // namespace
