#pragma once
// CPort: a test port (class "Port"), and CPhysicalPortGroup, the ports that share one test
// module's hardware.
//
// A port is online while its endpoint answers: its message channel is made when the port is made
// (and again when its Location changes), and the channel's connection sets the Online property.
// Each port is its own physical port group unless its PortGroup property names a group that other
// ports name too.

#include <memory>
#include <string>

#include "kel/framework/Scriptable.h"

namespace kel {
namespace core {

using framework::ClassId;
using framework::PropId;

namespace prop {
constexpr PropId Location = 0x1058001;            // endpoint of the port's firmware
constexpr PropId Online = 0x1058002;
constexpr PropId PortGroup = 0x1058003;
constexpr PropId ReservedForTesting = 0x1058006;  // the port may run storage tests
constexpr PropId OwnStorageEngine = 0x105800b;    // u16; 1: never conflicts with its group
}  // namespace prop

// Compared by pointer: two ports share a group exactly when GetPortGroup returns one pointer.
// Groups are made on demand and live for the process.
class CPhysicalPortGroup {
 public:
  explicit CPhysicalPortGroup(std::string name) : m_name(std::move(name)) {}
  const std::string& GetName() const { return m_name; }

  // The group of that name, made on first request.
  static const CPhysicalPortGroup* ForName(const std::string& name);

 private:
  std::string m_name;
};

class CPort : public framework::CScriptable {
 public:
  static const ClassId& CLASS_ID();

  bool IsOnline() const { return GetBool(prop::Online); }
  // Host side: the port monitor's verdict.
  void SetOnline(bool online) { StoreValue(prop::Online, online); }
  const std::string& GetLocation() const { return GetString(prop::Location); }

  // The port's own group ("port <handle>") when PortGroup is empty.
  const CPhysicalPortGroup* GetPortGroup() const;

  bool OnInit() override;
  bool OnMarkDelete() override;

 private:
  void OnLocationChanged(framework::CScriptable* port, framework::PropId id);
};

}  // namespace core
}  // namespace kel
