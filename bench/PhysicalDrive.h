#pragma once
// The benchmarks' targets: physical disks as learn would report them, by property name.

#include <string>

#include "ProjectBuilder.h"
#include "msg/BST_1.h"

// The properties of the discovered physical disk "PhysicalDrive<index>".
inline storageio_project::PropertyTexts PhysicalDrive(int index) {
  return {{"VolumeName", "PhysicalDrive" + std::to_string(index)},
          {"TargetType", std::to_string(static_cast<unsigned>(bst_1_bll::EnumTargetType::PhysicalDiskType))}};
}
