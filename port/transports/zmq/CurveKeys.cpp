#include "port/transports/zmq/CurveKeys.h"

#include <sys/stat.h>
#include <zmq.h>

#include <cstring>
#include <fstream>
#include <map>
#include <vector>

namespace storageio_port {

namespace {

constexpr std::size_t kZ85KeyLength = 40;

bool IsZ85Key(const std::string& text) {
  static const std::string alphabet =
      "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ.-:+=^!/*?&<>()[]{}@%$#";
  return text.size() == kZ85KeyLength && text.find_first_not_of(alphabet) == std::string::npos;
}

std::string Trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(" \t\r");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// The "name = value" lines of a key file (a bare value has the name ""), checked to be keys. Z85
// uses '#' and '=' too, so a comment is a line that starts with '#', and a name is one of the two
// a key file knows.
std::vector<std::pair<std::string, std::string>> KeyLines(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw KeyFileError("Cannot read key file " + path);
  std::vector<std::pair<std::string, std::string>> lines;
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    line = Trimmed(line);
    if (line.empty() || line[0] == '#') continue;
    std::string name;
    for (const char* known : {"public-key", "secret-key"}) {
      const std::size_t length = std::strlen(known);
      if (line.compare(0, length, known) == 0 && Trimmed(line.substr(length)).rfind('=', 0) == 0) {
        name = known;
        line = Trimmed(Trimmed(line.substr(length)).substr(1));
      }
    }
    if (!IsZ85Key(line)) throw KeyFileError(path + ":" + std::to_string(number) + ": not a key of 40 Z85 characters");
    lines.emplace_back(std::move(name), std::move(line));
  }
  return lines;
}

void WriteFile(const std::string& path, const std::string& text, mode_t mode) {
  std::ofstream file(path, std::ios::trunc);
  if (!(file << text) || !file.flush()) throw KeyFileError("Cannot write key file " + path);
  file.close();
  if (::chmod(path.c_str(), mode) != 0) throw KeyFileError("Cannot set the mode of key file " + path);
}

}  // namespace

CurveKeyPair GenerateKeyPair() {
  char publicKey[kZ85KeyLength + 1];
  char secretKey[kZ85KeyLength + 1];
  if (zmq_curve_keypair(publicKey, secretKey) != 0) {
    throw KeyFileError(std::string("No CURVE keys here: ") + zmq_strerror(zmq_errno()));
  }
  return CurveKeyPair{publicKey, secretKey};
}

void WriteKeyPair(const std::string& path, const CurveKeyPair& keys) {
  WriteFile(path, "public-key = " + keys.publicKey + "\nsecret-key = " + keys.secretKey + "\n", 0600);
  WriteFile(path + ".pub", "public-key = " + keys.publicKey + "\n", 0644);
}

CurveKeyPair ReadKeyPair(const std::string& path) {
  CurveKeyPair keys;
  for (const auto& [name, value] : KeyLines(path)) (name == "secret-key" ? keys.secretKey : keys.publicKey) = value;
  if (keys.publicKey.empty() || keys.secretKey.empty()) {
    throw KeyFileError(path + ": a key pair needs a public-key and a secret-key line");
  }
  return keys;
}

std::string ReadPublicKey(const std::string& path) {
  for (const auto& [name, value] : KeyLines(path)) {
    if (name != "secret-key") return value;
  }
  throw KeyFileError(path + ": no public-key line");
}

std::set<std::string> ReadAuthorizedKeys(const std::string& path) {
  std::set<std::string> keys;
  for (const auto& [name, value] : KeyLines(path)) {
    if (name == "secret-key") throw KeyFileError(path + ": holds a secret key; authorized keys are public ones");
    keys.insert(value);
  }
  return keys;
}

bool IsLoopbackEndpoint(const std::string& endpoint) {
  if (endpoint.rfind("ipc://", 0) == 0 || endpoint.rfind("inproc://", 0) == 0) return true;
  if (endpoint.rfind("tcp://", 0) != 0) return false;
  const std::string rest = endpoint.substr(6);
  std::string host = rest.substr(0, rest.rfind(':'));
  if (host.size() >= 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
  return host == "localhost" || host == "::1" || host.rfind("127.", 0) == 0;
}

}  // namespace storageio_port
