#pragma once
// CRunnable and CCommand: things a user runs.
//
// Execute(false) runs the command at once on the calling thread (commands may run other commands
// this way): Validate, then DoRun. The state property (0xE00F) moves INIT -> VALIDATING -> RUNNING
// and ends COMPLETED (5) when DoRun returns true, or FAILED when validation or the run fails;
// OnRunnableStateChange sees every move. Execute(true) queues the same run on the task manager's
// event loop; a failure there is written to the developer log "kel.host".
// A failed validation raises CCommandErrorException("Validation failed: <name>"); exceptions of
// DoRun leave Execute(false) after the state has become FAILED.

#include <vector>

#include "kel/framework/Scriptable.h"

namespace kel {
namespace framework {

namespace prop {
constexpr PropId RunnableState = 0xE00F;
}

class CRunnable : public CScriptable {
 public:
  enum State {
    STATE_INIT = 0,
    STATE_VALIDATING = 1,
    STATE_RUNNING = 2,
    STATE_PAUSED = 3,
    STATE_FAILED = 4,
    STATE_COMPLETED = 5,
  };

  State GetRunnableState() const { return static_cast<State>(GetU32(prop::RunnableState)); }

  void Execute(bool queued);
  // Back to INIT through DoReset; returns what DoReset returns.
  bool Reset();
  // Asks a running command to stop through OnStop.
  void Stop();

  // True when the command may run. The base asks DoRunnableValidate.
  virtual bool Validate();

 protected:
  virtual bool DoRun() { return true; }
  virtual bool DoReset() { return true; }
  virtual bool DoRunnableValidate() { return true; }
  virtual void OnRunnableStateChange(State from, State to);
  virtual void OnStop() {}
  virtual void OnChildAdded(CRunnable* child);

  void SetRunnableState(State state);
  // A child runnable (a sequencer's step, say) joins this one.
  void OnRelationModified(RelationType type, CScriptable& other, bool added) override;
};

class CCommand : public CRunnable {
 public:
  static const ClassId& CLASS_ID();

  // False for commands that only act on the running system and are not saved with the project.
  virtual bool CanSave() const { return true; }
  // Files the command reads when it runs; the base reads none.
  virtual void DoGetRequiredInputFilePaths(std::vector<std::string>& paths) const;

  // Turns handles into objects of `classId`: a handle of such an object gives that object, any
  // other handle the objects of that class below it (CScriptableLocator with `filter`). Unknown
  // handles are skipped; each object appears once, in the order found. Appends to `out`.
  static void ProcessInputHandleVec(ClassId classId, const std::vector<unsigned>& handles, ScriptableVec& out,
                                    unsigned filter);

 protected:
  // Called on every state change after OnRunnableStateChange.
  virtual void OnCommandStateChange() {}
  // Called when the command is deleted, before it goes.
  virtual void DoDelete() {}
  void OnRunnableStateChange(State from, State to) override;
  bool OnMarkDelete() override;
};

}  // namespace framework
}  // namespace kel
