#include "Console.h"

namespace storageio_cli {

Console::Console(std::ostream& out, bool terminal) : m_out(out), m_terminal(terminal) {}

void Console::EraseBlock() {
  if (m_block.empty()) return;
  // Up to the block's first line, to its first column, then clear to the end of the screen.
  m_out << "\x1b[" << m_block.size() << "F\x1b[J";
  m_block.clear();
}

void Console::Line(const std::string& text) {
  if (!m_terminal) {
    m_out << text << "\n";
    m_out.flush();
    return;
  }
  const std::vector<std::string> block = m_block;
  EraseBlock();
  m_out << text << "\n";
  for (const std::string& line : block) m_out << line << "\n";
  m_block = block;
  m_out.flush();
}

void Console::Block(const std::vector<std::string>& lines) {
  if (m_terminal) EraseBlock();
  for (const std::string& line : lines) m_out << line << "\n";
  if (m_terminal) m_block = lines;
  m_out.flush();
}

void Console::KeepBlock() { m_block.clear(); }

}  // namespace storageio_cli
