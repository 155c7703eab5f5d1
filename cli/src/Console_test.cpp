#include "Console.h"

#include <gtest/gtest.h>

#include <sstream>

namespace storageio_cli {
namespace {

TEST(ConsoleTest, OnAPipeEveryLineAndBlockIsAppendedAndNothingErased) {
  std::ostringstream out;
  Console console(out, /*terminal=*/false);
  console.Block({"t=1s", "a"});
  console.Line("progress");
  console.Block({"t=2s", "b"});
  EXPECT_EQ("t=1s\na\nprogress\nt=2s\nb\n", out.str());
}

TEST(ConsoleTest, OnATerminalTheBlockIsRedrawnInPlaceBelowTheLinesWrittenMeanwhile) {
  std::ostringstream out;
  Console console(out, /*terminal=*/true);
  console.Block({"t=1s", "a"});
  console.Line("progress");
  EXPECT_EQ("t=1s\na\n\x1b[2F\x1b[Jprogress\nt=1s\na\n", out.str()) << "the block moves below the line";
  out.str("");
  console.Block({"t=2s", "b", "c"});
  EXPECT_EQ("\x1b[2F\x1b[Jt=2s\nb\nc\n", out.str());
  out.str("");
  console.KeepBlock();
  console.Line("done");
  EXPECT_EQ("done\n", out.str()) << "a kept block stays on the screen";
}

}  // namespace
}  // namespace storageio_cli
