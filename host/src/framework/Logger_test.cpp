#include "kel/framework/Logger.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <regex>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "../testsupport/HostTestSupport.h"
#include "kel/framework/Exceptions.h"

namespace kel::framework {
namespace {

using test::ThrownText;

// Every test logs through the one process-wide factory, under a logger name of its own, into a
// MemorySink it removes again.
class LoggerTest : public ::testing::Test {
 protected:
  void SetUp() override { BLLLoggerFactory::GetInstance().AddSink(memory_); }
  void TearDown() override { BLLLoggerFactory::GetInstance().RemoveSink(memory_); }

  static BLLLogger* Logger(const std::string& name) {
    return BLLLoggerFactory::GetInstance().GetLogger("test.logger." + name);
  }

  std::shared_ptr<MemorySink> memory_ = std::make_shared<MemorySink>();
};

TEST_F(LoggerTest, EnablingFollowsSeverityNotLevelNumber) {
  EXPECT_EQ(Logger("same"), Logger("same"));
  // A logger no earlier run of this test has changed, to see the default threshold: info.
  static int runs = 0;
  BLLLogger* logger = Logger("severity." + std::to_string(++runs));
  EXPECT_FALSE(logger->IsEnabledFor(LOG_LEVEL_DEBUG));
  EXPECT_TRUE(logger->IsEnabledFor(LOG_LEVEL_INFO));

  // Warning has the highest number, yet error is more severe.
  logger->SetLevel(LOG_LEVEL_WARN);
  EXPECT_FALSE(logger->IsEnabledFor(LOG_LEVEL_INFO));
  EXPECT_TRUE(logger->IsEnabledFor(LOG_LEVEL_WARN));
  EXPECT_TRUE(logger->IsEnabledFor(LOG_LEVEL_ERROR));
  logger->SetLevel(LOG_LEVEL_ERROR);
  EXPECT_FALSE(logger->IsEnabledFor(LOG_LEVEL_WARN));
  EXPECT_TRUE(logger->IsEnabledFor(LOG_LEVEL_ERROR));

  const auto bogus = static_cast<LogLevelType>(7);
  EXPECT_FALSE(logger->IsEnabledFor(bogus));
  EXPECT_EQ(ThrownText<CKelLogicError>([&] { logger->SetLevel(bogus); }), "Unknown log level 7");
  EXPECT_TRUE(logger->IsEnabledFor(LOG_LEVEL_ERROR));
  EXPECT_FALSE(logger->IsEnabledFor(LOG_LEVEL_WARN)) << "a refused level leaves the threshold";
  EXPECT_THROW(BLLLoggerFactory::GetInstance().SetStderrThreshold(bogus), CKelLogicError);
  EXPECT_THROW(LogLevelName(static_cast<LogLevelType>(0)), CKelLogicError);
}

TEST_F(LoggerTest, WritesOnlyEnabledLevelsToEverySinkOnceAndStderrShowsWarningsUnlessLowered) {
  auto extra = std::make_shared<MemorySink>();
  BLLLoggerFactory& factory = BLLLoggerFactory::GetInstance();
  factory.AddSink(extra);
  factory.AddSink(extra);
  EXPECT_THROW(factory.AddSink(nullptr), CKelLogicError);
  BLLLogger* logger = Logger("enabled");
  logger->SetLevel(LOG_LEVEL_WARN);
  ::testing::internal::CaptureStderr();
  logger->Info("info", __FILE__, __LINE__);
  logger->Warn("warn", "source.cpp", 12);
  factory.RemoveSink(extra);
  logger->Error("error", nullptr, 0);
  logger->SetLevel(LOG_LEVEL_INFO);
  logger->Info("quiet", nullptr, 0);
  factory.SetStderrThreshold(LOG_LEVEL_INFO);
  logger->Info("now shown", nullptr, 0);
  factory.SetStderrThreshold(LOG_LEVEL_WARN);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "WARN test.logger.enabled: warn\nERROR test.logger.enabled: error\nINFO test.logger.enabled: now shown\n");

  const std::vector<LogRecord> records = memory_->Records();
  ASSERT_EQ(records.size(), 4u);
  const LogRecord& warn = records[0];
  EXPECT_EQ(std::tie(warn.logger, warn.level, warn.message, warn.file, warn.line),
            std::make_tuple("test.logger.enabled", LOG_LEVEL_WARN, "warn", "source.cpp", 12));
  EXPECT_EQ(std::tie(records[1].level, records[1].file), std::make_tuple(LOG_LEVEL_ERROR, ""));
  EXPECT_EQ(extra->Messages("test.logger.enabled"), std::vector<std::string>{"warn"});
}

TEST_F(LoggerTest, MemorySinkFiltersByLoggerAndLevel) {
  BLLLogger* first = Logger("first");
  first->SetLevel(LOG_LEVEL_DEBUG);
  first->Debug("one", nullptr, 0);
  Logger("second")->Info("other", nullptr, 0);
  first->Info("two", nullptr, 0);
  first->Debug("three", nullptr, 0);

  EXPECT_EQ(memory_->Messages("test.logger.first"), (std::vector<std::string>{"one", "two", "three"}));
  EXPECT_EQ(memory_->Messages("test.logger.first", LOG_LEVEL_DEBUG), (std::vector<std::string>{"one", "three"}));
  EXPECT_TRUE(memory_->Contains("test.logger.second", "other"));
  EXPECT_FALSE(memory_->Contains("test.logger.first", "other"));
  EXPECT_FALSE(memory_->Contains("test.logger.first", "tw"));
}

TEST_F(LoggerTest, LogsFromSeveralThreads) {
  BLLLogger* logger = Logger("threads");
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([logger] {
      for (int i = 0; i < 200; ++i) logger->Info("message", nullptr, 0);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(memory_->Messages("test.logger.threads").size(), 800u);
}

TEST(LogSinksTest, FileSinkAppendsTimestampedLinesAndNamesAPathItCannotOpen) {
  const std::string path = ::testing::TempDir() + "kel_file_sink_test.log";
  std::remove(path.c_str());
  FileSink(path).Write(LogRecord{"kel.host", LOG_LEVEL_INFO, "started", "", 0});
  FileSink(path).Write(LogRecord{"kel.port", LOG_LEVEL_DEBUG, "link down", "", 0});

  std::ifstream file(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  std::remove(path.c_str());
  ASSERT_EQ(lines.size(), 2u);
  const std::string timestamp = R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\.\d{3} )";
  EXPECT_TRUE(std::regex_match(lines[0], std::regex(timestamp + "INFO kel\\.host: started"))) << lines[0];
  EXPECT_TRUE(std::regex_match(lines[1], std::regex(timestamp + "DEBUG kel\\.port: link down"))) << lines[1];

  EXPECT_EQ(FormatLogLine(LogRecord{"kel.host", LOG_LEVEL_ERROR, "disk gone", "f.cpp", 3}), "ERROR kel.host: disk gone");
  const std::string unopenable = "/nonexistent-directory/kel.log";
  EXPECT_EQ(ThrownText<CKelRunTimeError>([&] { FileSink sink(unopenable); }), "Cannot open log file " + unopenable);
}

}  // namespace
}  // namespace kel::framework
