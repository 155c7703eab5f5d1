#pragma once
// Class ids of the host's own classes (described in host/datamodel/kel.yaml).

#include "kel/framework/Types.h"

namespace kel {
namespace framework {
namespace classid {
constexpr ClassId Scriptable = 0x1000;
constexpr ClassId KelSystem = 0x2000;
constexpr ClassId Project = 0x3000;
constexpr ClassId Runnable = 0xE000;
constexpr ClassId Command = 0xF000;
constexpr ClassId Result = 0x11000;
constexpr ClassId EmulatedDevice = 0x1006000;
constexpr ClassId ProtocolConfig = 0x1030000;
constexpr ClassId ApplyToILCommand = 0x1031000;
constexpr ClassId ClearResultsCommand = 0x1032000;
constexpr ClassId Port = 0x1058000;
}  // namespace classid
}  // namespace framework
}  // namespace kel
