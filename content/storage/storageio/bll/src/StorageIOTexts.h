#pragma once
// The texts this plug-in shows exactly as they stand. Users' scripts and log readers match them
// character for character, so they are exact as written here: odd spellings, missing blanks and
// trailing blanks included. Do not "fix" them. An assertion keeps the source line it has always
// named, whatever line of today's code raises it.

namespace kel {
namespace storageio {
namespace texts {

// ---- Assertions: "Assertion Failed: <message> Expression: <expression> File: <file> Line: <line>" ----

struct Assertion {
  const char* message;
  const char* expression;
  int line;  // kLineOfTheCheck: the line of the check itself
};
constexpr int kLineOfTheCheck = 0;

// The protocol (its file is StorageIOProtocol's, wherever the check sits).
constexpr Assertion kNoDefaultProfile = {"Cannot create default profile under project", "m_defaultProfile", 1132};
constexpr Assertion kNullObjectToMap = {"Null obj passed into CStorageIOProtocol::BuildAddModifyObjectMap ", "obj",
                                        490};
constexpr Assertion kNotAWorkerToMap = {
    "CStorageIOProtocol::BuildAddModifyObjectMap must get object of type STORAGEIO_StorageWorkerConfig",
    "obj->IsTypeOf(STORAGEIO_StorageWorkerConfig)", 492};
constexpr Assertion kWorkerWithoutProfileToSend = {
    "CStorageIOProtocol::BuildAndSendWorkerMessage worker does not have a profile", "profile", 604};
constexpr Assertion kNullTargetToSend = {"NULL obtained for scrip in BuildAndSendWorkerMessage", "scrip", 616};
constexpr Assertion kNullCreatedWorker = {"Expected a storage worker configuration object.", "worker != NULL", 473};
constexpr Assertion kNullModifiedWorker = {"Expected a storage worker configuration object.", "worker != NULL", 482};
constexpr Assertion kNoProject = {"Expected a Project object.", "pProject != NULL", 312};
constexpr Assertion kNullPort = {"Expected a port object.", "pPort != NULL", 227};
constexpr Assertion kNullPortWorker = {"Expected a storage worker configuration object.", "pWorker != NULL", 253};
constexpr Assertion kPortGroupNotInserted = {
    "Unable to insert a port group entry into a container during StorageIOProtocol validation.",
    "result.first != rUsedPortGroups.end()", 209};

// The stop command.
constexpr Assertion kNoPortOfHandle = {"Cannot get the port from the port handle", "port", 47};

// A profile's port sets.
constexpr Assertion kWorkerWithoutParent = {"Cannot get parent from worker in CStorageWorkerProfile::BuildNewPortSet ",
                                            "emd", kLineOfTheCheck};
constexpr Assertion kDeviceWithoutPort = {"Cannot get port from emd in CStorageWorkerProfile::BuildNewPortSet ", "port",
                                          kLineOfTheCheck};
constexpr Assertion kNoPortInHandleSet = {
    "Cannot get port from the portHndSet CStorageWorkerProfile::ProcessConfigForCache", "port", kLineOfTheCheck};

// ---- Log lines ----

// The warning of every handler of a port's answer or notification whose port is gone.
constexpr const char* kPortOfAnswerNotFound = "Cannot find port for processing the response ParseResponseLearnTargets ";

// A test's progress, for the port's progress values 0 to 6, in the resource "Test on Status on {1}: {2}.".
constexpr const char* kProgress[] = {"Preparing Disks", "Starting Test", "Beginning IO Operations",
                                     "Recording statistics", "25% Done", "50% Done", "75% Done"};

// A port's end: "Storage test on port<name> has finished.", then the whole test's end.
constexpr const char* kPortFinishedBefore = "Storage test on port";
constexpr const char* kPortFinishedAfter = " has finished.";
constexpr const char* kTestCompleted = "The Storage test has been completed.";

// The start command's budget ran out; the stop command found nothing to stop.
constexpr const char* kStartTimedOut = "StorageStartWorkerCommand: Timed out waiting for workers to complete.";
constexpr const char* kNothingToStop = "There is no test running.Skipping stop";

}  // namespace texts
}  // namespace storageio
}  // namespace kel
