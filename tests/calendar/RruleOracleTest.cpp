// The iterator against python3-dateutil's rrule on a few hundred generated rules.
#include <gtest/gtest.h>

#include "calendar/RecurrenceIterator.h"
#include "tests/calendar/OracleSupport.h"

using zelvo::timezone::DateTime;
using zelvo::timezone::RecurrenceIterator;
using zelvo::timezone::RecurrenceRule;

TEST(RruleOracle, FirstOccurrencesAgreeWithDateutil) {
  if (!zelvo::testing::scriptsCanRun()) GTEST_SKIP() << "the oracle scripts run natively only";
  std::vector<std::string> lines;
  ASSERT_EQ("", zelvo::testing::runOracle("rrule_oracle.py", "dateutil", "", lines));
  ASSERT_GE(lines.size(), 300u);
  size_t agreed = 0;
  for (const std::string& line : lines) {
    const std::vector<std::string> fields = zelvo::testing::splitText(line, '|');
    ASSERT_EQ(3u, fields.size()) << line;
    const RecurrenceRule rule = RecurrenceRule::parse(fields[0]);
    ASSERT_TRUE(rule.valid) << fields[0];
    const std::vector<std::string> expected = zelvo::testing::splitText(fields[2], ',');
    RecurrenceIterator iterator(rule, DateTime::parse(fields[1]));
    std::vector<std::string> found;
    DateTime occurrence;
    while (found.size() < expected.size() + 1 && iterator.next(occurrence)) found.push_back(occurrence.format(0));
    // The oracle lists at most 12; beyond its list ours may go on.
    if (expected.size() == 12 && found.size() > 12) found.resize(12);
    if (found == expected) {
      ++agreed;
    } else {
      ADD_FAILURE() << fields[0] << " from " << fields[1] << "\n  dateutil: " << fields[2] << "\n  ours:     "
                    << ::testing::PrintToString(found);
    }
  }
  RecordProperty("agreed", static_cast<int>(agreed));
  std::printf("rrule oracle: %zu of %zu rules agree\n", agreed, lines.size());
}
