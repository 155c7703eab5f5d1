#pragma once
// CScriptableAutoPtr: owns an object made without a parent (a command run from code) and
// releases it with ReleaseScriptable when it goes out of scope. Move-only.

#include <utility>

#include "kel/framework/Scriptable.h"

namespace kel {
namespace framework {

template <class T>
class CScriptableAutoPtr {
 public:
  explicit CScriptableAutoPtr(T* object = nullptr) : m_object(object) {}
  ~CScriptableAutoPtr() { ReleaseScriptable(m_object); }
  CScriptableAutoPtr(CScriptableAutoPtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
  CScriptableAutoPtr& operator=(CScriptableAutoPtr&& other) noexcept {
    if (this != &other) reset(std::exchange(other.m_object, nullptr));
    return *this;
  }
  CScriptableAutoPtr(const CScriptableAutoPtr&) = delete;
  CScriptableAutoPtr& operator=(const CScriptableAutoPtr&) = delete;

  T* get() const { return m_object; }
  T* operator->() const { return m_object; }
  T& operator*() const { return *m_object; }
  explicit operator bool() const { return m_object != nullptr; }
  // Gives up ownership.
  T* release() { return std::exchange(m_object, nullptr); }
  void reset(T* object = nullptr) {
    ReleaseScriptable(m_object);
    m_object = object;
  }

 private:
  T* m_object;
};

}  // namespace framework
}  // namespace kel
