#pragma once
// Saving the project to a file and loading it back.
//
// The file (YAML) lists the objects below the project in parent-first order by class id, with
// their property values by property id and their parent, then every relation other than
// parent-child as (relation id, source, target). Handles in the file only tie its entries
// together: a load gives every object a new handle, and handle-list properties are translated.
//
// Loading checks the whole file before it touches the model: a file that cannot be read, names
// an unknown or abstract class, an unknown property or relation, or holds a value that does not
// fit its property throws CKelRunTimeError naming the file and the entry, and the current project
// stays as it is. Otherwise the current project is replaced; while objects are made the system's
// LoadingConfiguration flag (0x200f) is set, and at the end every loaded object's OnLoadCompleted
// runs. Loaded objects start Created: the next apply sends them to the ports.

#include <string>

namespace kel {
namespace framework {

class CProjectStore {
 public:
  // Writes the active project; throws CKelRunTimeError when the file cannot be written.
  static void Save(const std::string& path);
  // Replaces the active project with the one in the file; returns the number of objects loaded.
  static std::size_t Load(const std::string& path);
};

}  // namespace framework
}  // namespace kel
