#include "kel/framework/Exceptions.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "kel/framework/Logger.h"

namespace kel::framework {
namespace {

class ExceptionsTest : public ::testing::Test {
 protected:
  void SetUp() override { BLLLoggerFactory::GetInstance().AddSink(memory_); }
  void TearDown() override { BLLLoggerFactory::GetInstance().RemoveSink(memory_); }

  std::shared_ptr<MemorySink> memory_ = std::make_shared<MemorySink>();
};

TEST_F(ExceptionsTest, EveryKindIsAKelExceptionWithItsTextAndLogsOnlyWhenAsked) {
  const CKelRunTimeError quiet("quiet failure");
  // Keeps the expected error line off the terminal.
  ::testing::internal::CaptureStderr();
  const CCommandErrorException logged("logged failure", true);
  ::testing::internal::GetCapturedStderr();

  EXPECT_FALSE(memory_->Contains("kel.host", "quiet failure"));
  EXPECT_EQ(memory_->Messages("kel.host", LOG_LEVEL_ERROR), (std::vector<std::string>{"logged failure"}));

  const CKelException& error = logged;
  EXPECT_STREQ(error.what(), "logged failure");
  EXPECT_EQ(error.GetMessage(), "logged failure");
  EXPECT_THROW(throw CKelLogicError("x"), CKelException);
  EXPECT_THROW(throw CCommandErrorException("x"), CKelException);
  EXPECT_THROW(throw CKelRunTimeError("x"), std::exception);
}

}  // namespace
}  // namespace kel::framework
