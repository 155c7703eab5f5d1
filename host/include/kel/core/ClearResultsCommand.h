#pragma once
// CClearResultsCommand: sets the results of every protocol back to zero (class
// "ClearResultsCommand").
//
// The run asks every protocol registered with CProtocolModule, in start order, to ClearResult().
// What clearing means, and whether a protocol refuses it (during a running test, say), is the
// protocol's own business: a refusal is the protocol's log line, not a failure of the command. An
// exception from a protocol ends the run (the command fails) and later protocols are not asked.

#include "kel/framework/Command.h"

namespace kel {
namespace core {

class CClearResultsCommand : public framework::CCommand {
 public:
  static const framework::ClassId& CLASS_ID();
  static framework::CMetaClass* GetMetaClassStatic();

 protected:
  bool DoRun() override;
};

}  // namespace core
}  // namespace kel
