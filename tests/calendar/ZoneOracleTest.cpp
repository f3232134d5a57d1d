// Offsets of every named zone against Python's zoneinfo over the system's tzdata.
#include <gtest/gtest.h>

#include <map>
#include <memory>

#include "calendar/TimeZone.h"
#include "testing/TestEnvironment.h"
#include "tests/calendar/OracleSupport.h"

using namespace zelvo::timezone;

namespace {
// Rows whose rules changed between the data the tables keep and what the database says for
// 2024 to 2030; a row of this list is expected to disagree somewhere in those years.
const std::map<std::string, const char*> ruleChanges = {
    {"Africa/Casablanca", "kept as the tables have always had it; Morocco moved to +01 with a Ramadan break in 2018"},
    {"Africa/El_Aaiun", "Ramadan breaks of Morocco follow no yearly rule"},
    {"Africa/Cairo", "kept as the tables have always had it; Egypt changed its rules in 2023"},
    {"Egypt", "Egypt changes on the day after the last Thursday of October, no yearly rule here"},
    {"America/Asuncion", "kept as the tables have always had it; Paraguay stays on -03 since October 2024"},
    {"Asia/Gaza", "Palestine's changes depend on Ramadan"},
    {"America/Havana", "Cuba kept daylight time from March 2026 to November 2027"},
    {"Cuba", "Cuba kept daylight time from March 2026 to November 2027"},
    {"Asia/Almaty", "Kazakhstan moved to +05 on 1 March 2024"},
    {"America/Vancouver", "British Columbia stays on -07 from March 2026"},
    {"Canada/Pacific", "British Columbia stays on -07 from March 2026"},
    {"America/Edmonton", "Alberta stays on -06 from March 2026"},
    {"Canada/Mountain", "Alberta stays on -06 from March 2026"},
    {"America/Yellowknife", "Alberta stays on -06 from March 2026"},
    {"America/Inuvik", "Northwest Territories stay on -06 from March 2026"},
    {"America/Winnipeg", "Manitoba stays on -05 from March 2026"},
    {"America/Rainy_River", "Manitoba stays on -05 from March 2026"},
    {"Canada/Central", "Manitoba stays on -05 from March 2026"},
};

const ZoneSourceRow* namedRow(const std::string& name) {
  for (size_t i = 0; i < tables::namedZoneCount; ++i) {
    if (name == tables::namedZones[i].name) return &tables::namedZones[i];
  }
  return nullptr;
}
}  // namespace

TEST(ZoneOracle, NamedZoneOffsetsAgreeWithZoneinfo) {
  std::vector<std::string> lines;
  const std::string reason = zelvo::testing::runOracle("zone_oracle.py", "", lines);
  if (!reason.empty()) GTEST_SKIP() << reason;
  ASSERT_GE(lines.size(), 560u);
  size_t zonesAgreeing = 0;
  size_t instants = 0;
  size_t instantsAgreeing = 0;
  std::vector<std::string> disagreeing;
  for (const std::string& line : lines) {
    const std::vector<std::string> fields = zelvo::testing::splitText(line, '|');
    ASSERT_EQ(2u, fields.size());
    const ZoneSourceRow* row = namedRow(fields[0]);
    ASSERT_NE(nullptr, row) << fields[0];
    const auto zone = std::make_shared<ZTimeZone>(ZTimeZone::fromRow(*row));
    ASSERT_TRUE(zone->isValid()) << fields[0];
    size_t wrong = 0;
    std::string firstWrong;
    for (const std::string& pair : zelvo::testing::splitText(fields[1], ',')) {
      const size_t colon = pair.find(':');
      const int64_t t = std::stoll(pair.substr(0, colon));
      const int64_t expected = std::stoll(pair.substr(colon + 1));
      const Duration found = DateTime::fromUtc(t, zone).offset();
      ++instants;
      if (found.totalSeconds() == expected) {
        ++instantsAgreeing;
      } else if (wrong++ == 0) {
        firstWrong = DateTime::fromUtc(t).format(0) + " ours " + found.formatOffset() + " zoneinfo " +
                     Duration(expected).formatOffset();
      }
    }
    const bool known = ruleChanges.count(fields[0]) != 0;
    if (wrong == 0) {
      ++zonesAgreeing;
      EXPECT_FALSE(known) << fields[0] << " agrees now; take it off the list of rule changes";
    } else {
      disagreeing.push_back(fields[0]);
      EXPECT_TRUE(known) << fields[0] << ": " << wrong << " instants differ, first " << firstWrong;
    }
  }
  std::printf("zone oracle: %zu of %zu named zones agree at every instant; %zu of %zu instants agree\n",
              zonesAgreeing, lines.size(), instantsAgreeing, instants);
}

TEST(ZoneTableGenerator, CommittedTablesMatchTheGenerator) {
  const std::string installed = [] {
    try {
      const std::string data = zelvo::testing::readFile("/usr/share/zoneinfo/tzdata.zi");
      const std::string prefix = "# version ";
      return data.compare(0, prefix.size(), prefix) == 0 ? data.substr(prefix.size(), data.find('\n') - prefix.size())
                                                         : std::string();
    } catch (const std::exception&) {
      return std::string();
    }
  }();
  if (installed != tables::tzdataVersion) {
    GTEST_SKIP() << "the tables come from tzdata " << tables::tzdataVersion << ", this machine has '" << installed
                 << "'; refresh with python3 tools/tzgen/tzgen.py --output src/calendar/ZoneTableData.cpp";
  }
  std::vector<std::string> generated;
  const std::string reason = zelvo::testing::runScript("tools/tzgen/tzgen.py", "2>/dev/null", generated);
  if (!reason.empty()) GTEST_SKIP() << reason;
  const std::string committed = zelvo::testing::readFile(zelvo::testing::sourcePath("src/calendar/ZoneTableData.cpp"));
  std::string joined;
  for (const std::string& line : generated) joined += line + "\n";
  std::string withoutBlankLines;
  for (const std::string& line : zelvo::testing::splitText(committed, '\n')) {
    if (!line.empty()) withoutBlankLines += line + "\n";
  }
  EXPECT_EQ(withoutBlankLines, joined) << "src/calendar/ZoneTableData.cpp differs from what tools/tzgen/tzgen.py writes";
}
