#pragma once
// CurveKeys: the CURVE keys of agents and their clients, and the files that hold them. Keys are
// ZeroMQ's Z85 texts of 40 characters.
//
// Files are text, one "name = value" per line; a line that starts with '#' is a comment:
// - a key pair (written by `storageio agent keygen`, readable by its owner only):
//     public-key = <z85>
//     secret-key = <z85>
//   with the public half also written beside it, to "<file>.pub", for the other side to pin;
// - a public key file: the public-key line alone (a pair file serves as well);
// - an authorized-keys file: one public key per line, alone or as "public-key = <z85>".

#include <set>
#include <stdexcept>
#include <string>

namespace storageio_port {

class KeyFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct CurveKeyPair {
  std::string publicKey;
  std::string secretKey;
};

// Throws KeyFileError when the system gives no keys (libzmq built without CURVE).
CurveKeyPair GenerateKeyPair();
// Writes `path` (mode 0600) and `path`.pub (mode 0644). Throws KeyFileError naming the file.
void WriteKeyPair(const std::string& path, const CurveKeyPair& keys);
// Throws KeyFileError naming the file and line: unreadable, a key that is not 40 Z85 characters,
// a missing half.
CurveKeyPair ReadKeyPair(const std::string& path);
std::string ReadPublicKey(const std::string& path);
std::set<std::string> ReadAuthorizedKeys(const std::string& path);

// Whether an endpoint stays on this machine: tcp:// to 127.0.0.0/8, ::1 or localhost, or ipc://
// and inproc://. Anything else must be protected by CURVE.
bool IsLoopbackEndpoint(const std::string& endpoint);

}  // namespace storageio_port
