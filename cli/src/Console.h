#pragma once
// Console: what a run shows while it goes: log lines, and below them one live block (the table
// of figures) that is replaced each time it is drawn.
//
// On a terminal the block is redrawn in place: the cursor goes back up over the block drawn last
// and the screen is cleared from there, so a line written meanwhile lands above the new block. On
// a pipe or a file nothing is ever erased: every block is appended, so the output reads as a log.
//
// Threads: the business-layer thread only.

#include <ostream>
#include <string>
#include <vector>

namespace storageio_cli {

class Console {
 public:
  // `out` must outlive the console.
  Console(std::ostream& out, bool terminal);

  bool IsTerminal() const { return m_terminal; }
  // Writes a line above the live block.
  void Line(const std::string& text);
  // Draws `lines` as the live block, in place of the last one on a terminal.
  void Block(const std::vector<std::string>& lines);
  // Leaves the last block on the screen as it is: what follows is written below it.
  void KeepBlock();

 private:
  void EraseBlock();

  std::ostream& m_out;
  const bool m_terminal;
  std::vector<std::string> m_block;  // the live block on the screen, terminal only
};

}  // namespace storageio_cli
