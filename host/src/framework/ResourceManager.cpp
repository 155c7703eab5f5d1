#include "kel/framework/ResourceManager.h"

#include <cctype>
#include <cstddef>

#include "kel/framework/Exceptions.h"

namespace kel::framework {

CResourceManager& CResourceManager::Instance() {
  // Never destroyed, so texts stay readable during process exit.
  static CResourceManager* const instance = new CResourceManager();
  return *instance;
}

void CResourceManager::AddStringResource(long id, const std::string& text) {
  std::lock_guard<std::mutex> lock(mutex_);
  texts_[id] = text;
}

bool CResourceManager::HasStringResource(long id) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return texts_.count(id) != 0;
}

const std::string& CResourceManager::GetStringResource(long id) const {
  std::lock_guard<std::mutex> lock(mutex_);
  const auto found = texts_.find(id);
  if (found == texts_.end()) {
    std::ostringstream text;
    text << "Unknown string resource 0x" << std::hex << std::uppercase
         << static_cast<unsigned long>(id);
    throw CKelRunTimeError(text.str());
  }
  return found->second;
}

std::vector<long> CResourceManager::GetStringResourceIds() const {
  std::lock_guard<std::mutex> lock(mutex_);
  std::vector<long> ids;
  ids.reserve(texts_.size());
  for (const auto& entry : texts_) {
    ids.push_back(entry.first);
  }
  return ids;
}

ResourceFormatter::ResourceFormatter(long id)
    : text_(CResourceManager::Instance().GetStringResource(id)) {}

std::string ResourceFormatter::ToString() const {
  std::string result;
  std::size_t position = 0;
  while (position < text_.size()) {
    const std::size_t open = text_.find('{', position);
    if (open == std::string::npos) {
      break;
    }
    std::size_t digitsEnd = open + 1;
    while (digitsEnd < text_.size() && std::isdigit(static_cast<unsigned char>(text_[digitsEnd]))) {
      ++digitsEnd;
    }
    const std::size_t digitCount = digitsEnd - open - 1;
    const bool closed = digitsEnd < text_.size() && text_[digitsEnd] == '}';
    // More digits than any argument count can have: cannot name an argument, so plain text.
    const bool countable = digitCount > 0 && digitCount <= 9;
    if (closed && countable) {
      const std::size_t number = std::stoul(text_.substr(open + 1, digitCount));
      if (number >= 1 && number <= arguments_.size()) {
        result.append(text_, position, open - position);
        result.append(arguments_[number - 1]);
        position = digitsEnd + 1;
        continue;
      }
    }
    // Not a placeholder with an argument: keep the '{' and look for the next one after it.
    result.append(text_, position, open + 1 - position);
    position = open + 1;
  }
  result.append(text_, position, std::string::npos);
  return result;
}

std::ostream& operator<<(std::ostream& out, const ResourceFormatter& formatter) {
  return out << formatter.ToString();
}

}  // namespace kel::framework
