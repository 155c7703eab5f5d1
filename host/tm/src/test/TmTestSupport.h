#pragma once
// What the message library's tests share.

#include <string>

#include "tm/Tm_exception.h"

// The text of the Tm_exception that `call` throws, or "no exception".
template <class Call>
std::string failure_of(Call call) {
  try {
    call();
  } catch (const Tm_exception& error) {
    return error.what();
  }
  return "no exception";
}
