#include "kel/core/ValidationContext.h"

namespace kel {
namespace core {

std::string ValidationContext::ErrorText() const {
  std::string text;
  for (const Issue& error : m_errors) {
    if (!text.empty()) text += '\n';
    text += error.location + ": " + error.message;
  }
  return text;
}

}  // namespace core
}  // namespace kel
