#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <sstream>

#include "ResultTables.h"
#include "ResultsTestFixture.h"

namespace storageio_cli {
namespace {

class ResultsTablesTest : public ResultsTest {
 protected:
  // A project, a port that the plug-in rolled up (its MaxLatency is a sum) and its one worker.
  static std::vector<ResultRecord> Records() {
    ResultRecord project = Record(ResultLevel::Project, "Project 1", {{"AvgIOPerSecond", 1500}});
    ResultRecord port = Record(ResultLevel::Port, "Port A",
                               {{"AllTransactionCount", 4},
                                {"TotalTransactionLatency", 10},
                                {"AvgIOPerSecond", 1500},
                                {"AvgMBps", 6.144},
                                {"MaxLatency", 40},
                                {"ReadErrors", 1},
                                {"WriteErrors", 2}});
    port.ownerHandle = 5;
    ResultRecord worker = Record(ResultLevel::Worker, "Worker 1", {{"MaxLatency", 4.25}, {"AllTransactionCount", 4}});
    worker.portHandle = 5;
    worker.deleted = true;
    return {project, port, worker};
  }
  static std::size_t Lines(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }
  // The cells after `owner` on the first line that starts with it (after the indent).
  static std::vector<std::string> CellsOf(const std::string& text, const std::string& owner) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
      if (line.rfind("  " + owner + " ", 0) != 0) continue;
      std::istringstream cells(line.substr(2 + owner.size()));
      return {std::istream_iterator<std::string>(cells), std::istream_iterator<std::string>()};
    }
    return {};
  }
};

TEST_F(ResultsTablesTest, FinalTablesShowEveryLevelWithDerivedLatencies) {
  std::ostringstream out;
  WriteResultTables(out, Records());
  const std::string text = out.str();
  std::size_t at = 0;
  for (const char* title : {"\nProject\n", "\nPorts\n", "\nProfiles\n", "\nWorkers\n", "\nTargets\n"}) {
    at = text.find(title, at);
    ASSERT_NE(std::string::npos, at) << title;
  }
  // Port A: 4 I/Os, mean 10/4 ms, peak from its worker (not the summed 40), 1 + 2 errors.
  EXPECT_EQ((std::vector<std::string>{"4", "0", "0", "1500.0", "6.144", "2.500", "4.250", "3"}),
            CellsOf(text, "Port A"))
      << text;
  EXPECT_NE(std::string::npos, text.find("Worker 1 (deleted)")) << text;
  EXPECT_EQ(std::string::npos, text.find('\x1b'));
}

TEST_F(ResultsTablesTest, TheLiveTableHasTheElapsedTimeAPortRowEachAndTheProject) {
  std::vector<ResultRecord> withLineBreak = Records();
  withLineBreak[1].owner = "Port\nA";  // must not break the block's one line per row
  const std::vector<std::string> lines = LiveTableLines(withLineBreak, 3200, false);
  ASSERT_EQ(4u, lines.size()) << "time, heading, the port, the project";
  EXPECT_EQ("t=3s", lines[0]);
  EXPECT_NE(std::string::npos, lines[2].find("Port A")) << lines[2];
  EXPECT_NE(std::string::npos, lines[3].find("project")) << lines[3];
  for (const std::string& line : lines) EXPECT_EQ(std::string::npos, line.find_first_of("\n\x1b")) << line;
}

TEST_F(ResultsTablesTest, ColourMarksTheHeaderAndNonZeroErrorsOnly) {
  std::vector<ResultRecord> records = Records();
  records[0].level = ResultLevel::Port;  // a second port, without errors
  records[0].owner = "Port B";
  std::string text;
  for (const std::string& line : LiveTableLines(records, 0, true)) text += line + "\n";
  EXPECT_NE(std::string::npos, text.find("\x1b[1mport")) << text;
  // Bold and red, each with its reset: Port B has no errors, so nothing else is coloured.
  EXPECT_EQ(4, std::count(text.begin(), text.end(), '\x1b')) << text;
  EXPECT_NE(std::string::npos, text.find("\x1b[31m")) << text;
}

}  // namespace
}  // namespace storageio_cli
