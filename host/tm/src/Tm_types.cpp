#include "tm/Tm_types.h"

namespace {

const char* const kValueTypeNames[] = {"int8",   "uint8",  "int16", "uint16", "int32",  "uint32", "int64",
                                       "uint64", "double", "bool",  "string", "binary", "struct", "array"};

}  // namespace

std::string tmv_name(TMV type) {
  if (type >= TMV_INT8 && type <= TMV_ARRAY) return kValueTypeNames[type];
  return "TMV " + std::to_string(static_cast<int>(type));
}

std::string tmt_name(TMT type) {
  switch (type) {
    case TMT_REQUEST: return "request";
    case TMT_RESPONSE: return "response";
  }
  return "TMT " + std::to_string(static_cast<int>(type));
}
