// Offsets of every named zone against Python's zoneinfo over the time zone database pinned
// in tools/tzgen/tzdata.zi, from which the tables are generated; and the tables against the
// generator.
#include <gtest/gtest.h>

#include <map>
#include <memory>

#include "calendar/TimeZone.h"
#include "testing/TestEnvironment.h"
#include "tests/calendar/OracleSupport.h"

using namespace zelvo::timezone;

namespace {
// Rows whose yearly rules cannot say what the database says for 2024 to 2030: kept as the
// product has always had them, or changes that follow no yearly rule or stop within those
// years. A row of this list is expected to disagree somewhere in them.
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
  if (!zelvo::testing::scriptsCanRun()) GTEST_SKIP() << "the oracle scripts run natively only";
  std::vector<std::string> lines;
  ASSERT_EQ("", zelvo::testing::runOracle("zone_oracle.py", "zoneinfo", "", lines));
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

TEST(ZoneTableGenerator, TablesNameThePinnedRelease) {
  const std::string data = zelvo::testing::readFile(zelvo::testing::sourcePath("tools/tzgen/tzdata.zi"));
  const std::string prefix = "# version ";
  ASSERT_EQ(prefix, data.substr(0, prefix.size()));
  EXPECT_EQ(data.substr(prefix.size(), data.find('\n') - prefix.size()), tables::tzdataVersion)
      << "src/calendar/ZoneTableData.cpp was not generated from tools/tzgen/tzdata.zi";
}

TEST(ZoneTableGenerator, CommittedTablesMatchTheGenerator) {
  if (!zelvo::testing::scriptsCanRun()) GTEST_SKIP() << "the generator runs natively only";
  std::vector<std::string> generated;
  ASSERT_EQ("", zelvo::testing::runScript("tools/tzgen/tzgen.py", "zoneinfo", "--quiet", generated));
  const std::string committed = zelvo::testing::readFile(zelvo::testing::sourcePath("src/calendar/ZoneTableData.cpp"));
  std::string joined;
  for (const std::string& line : generated) joined += line + "\n";
  std::string withoutBlankLines;
  for (const std::string& line : zelvo::testing::splitText(committed, '\n')) {
    if (!line.empty()) withoutBlankLines += line + "\n";
  }
  EXPECT_EQ(withoutBlankLines, joined) << "src/calendar/ZoneTableData.cpp differs from what tools/tzgen/tzgen.py writes";
}
