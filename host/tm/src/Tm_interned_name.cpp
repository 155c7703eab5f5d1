#include "tm/Tm_interned_name.h"

#include <deque>
#include <mutex>
#include <string>
#include <unordered_set>

#include "tm/Tm_exception.h"

namespace {

class Name_pool {
 public:
  const char* intern(std::string_view name) {
    if (name.find('\0') != std::string_view::npos) throw Tm_exception("an interned name holds a NUL byte");
    std::lock_guard<std::mutex> lock(m_mutex);
    if (const auto found = m_index.find(name); found != m_index.end()) return found->data();
    // A deque never moves its strings, so the texts and the views indexing them stay put.
    const std::string& stored = m_texts.emplace_back(name);
    m_index.insert(stored);
    return stored.c_str();
  }

  const char* find(std::string_view name) {
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_index.find(name);
    return found == m_index.end() ? nullptr : found->data();
  }

 private:
  std::mutex m_mutex;
  std::deque<std::string> m_texts;
  std::unordered_set<std::string_view> m_index;
};

// Never destroyed: codecs of libraries unloaded late may still look names up.
Name_pool& pool() {
  static auto* const names = new Name_pool;
  return *names;
}

}  // namespace

const char* tm_intern_name(std::string_view name) { return pool().intern(name); }

const char* tm_find_interned_name(std::string_view name) { return pool().find(name); }
