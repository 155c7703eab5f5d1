// The relation half of CScriptable: its relation slots, the walks over them, relating and
// unrelating objects, and the added and removed lists that the apply's commit clears. The
// properties, state and lifecycle are in Scriptable.cpp.
#include "kel/framework/Scriptable.h"

#include <algorithm>

#include "kel/framework/HandleRegistry.h"

namespace kel {
namespace framework {

namespace {

// Records an add: it cancels an earlier remove of the object.
void TrackAdded(std::vector<Handle>& added, std::vector<Handle>& removed, Handle handle) {
  const auto it = std::find(removed.begin(), removed.end(), handle);
  if (it != removed.end()) {
    removed.erase(it);
  } else {
    added.push_back(handle);
  }
}

// Records a remove: the object leaves the added list and always joins the removed list.
void TrackRemoved(std::vector<Handle>& added, std::vector<Handle>& removed, Handle handle) {
  added.erase(std::remove(added.begin(), added.end(), handle), added.end());
  if (std::find(removed.begin(), removed.end(), handle) == removed.end()) removed.push_back(handle);
}

bool Fail(std::string* errorText, const std::string& text) {
  if (errorText != nullptr) *errorText = text;
  return false;
}

}  // namespace

// ---- Slots ----

CScriptable::RelationSlot* CScriptable::FindSlot(RelationType type) {
  const std::size_t count = m_relations.size();
  const std::size_t inlined = std::min(count, kInlineSlotTypes);
  for (std::size_t i = 0; i < inlined; ++i) {
    if (m_slotTypes[i] == type) return &m_relations[i];
  }
  for (std::size_t i = inlined; i < count; ++i) {
    if (m_relations[i].type == type) return &m_relations[i];
  }
  return nullptr;
}

const CScriptable::RelationSlot* CScriptable::FindSlot(RelationType type) const {
  return const_cast<CScriptable*>(this)->FindSlot(type);
}

CScriptable::RelationSlot& CScriptable::Slot(RelationType type) {
  if (RelationSlot* slot = FindSlot(type)) return *slot;
  m_relations.push_back(RelationSlot{type, {}, {}, {}});
  if (m_relations.size() <= kInlineSlotTypes) m_slotTypes[m_relations.size() - 1] = type;
  return m_relations.back();
}

void CScriptable::RelationSlot::Append(CScriptable& object) { related.push_back({&object, object.m_meta}); }

void CScriptable::RelationSlot::Erase(const CScriptable& object) {
  related.erase(std::find_if(related.begin(), related.end(),
                             [&](const Related& entry) { return entry.object == &object; }));
}

void CScriptable::RelationSlot::Reorder(const ScriptableVec& ordered) {
  related.clear();
  for (CScriptable* object : ordered) Append(*object);
}

bool CScriptable::RelationSlot::Contains(const CScriptable& object) const {
  return std::any_of(related.begin(), related.end(), [&](const Related& entry) { return entry.object == &object; });
}

std::size_t CScriptable::RelationSlot::FindOfClass(ClassId classId, std::size_t from) const {
  for (; from < related.size(); ++from) {
    const CMetaClass* meta = related[from].meta;
    if (classId == 0 || (meta != nullptr && meta->IsTypeOf(classId))) return from;
  }
  return from;
}

// ---- Walks ----

CScriptable* CScriptable::GetParent() const { return GetObject(0, ChildParent()); }

CScriptable* CScriptable::GetObject(ClassId classId, RelationType type) const {
  const RelationSlot* slot = FindSlot(type);
  if (slot == nullptr) return nullptr;
  const std::size_t at = slot->FindOfClass(classId);
  return at < slot->related.size() ? slot->related[at].object : nullptr;
}

CScriptable* CScriptable::GetObject(const std::string& className, RelationType type) const {
  const CMetaClass* meta = CMetaClassManager::Instance().GetClass(className);
  return meta ? GetObject(meta->GetClassId(), type) : nullptr;
}

void CScriptable::GetObjects(ScriptableVec& out, ClassId classId, RelationType type) const {
  const RelationSlot* slot = FindSlot(type);
  if (slot == nullptr) return;
  for (std::size_t at = slot->FindOfClass(classId); at < slot->related.size();
       at = slot->FindOfClass(classId, at + 1)) {
    out.push_back(slot->related[at].object);
  }
}

void CScriptable::GetObjects(ScriptableVec& out, const std::string& className, RelationType type) const {
  if (const CMetaClass* meta = CMetaClassManager::Instance().GetClass(className)) {
    GetObjects(out, meta->GetClassId(), type);
  }
}

void CScriptable::CollectTracked(const std::vector<Handle>& handles, ScriptableVec& out, ClassId classId) const {
  const CHandleRegistry& registry = CHandleRegistry::Instance();
  for (Handle handle : handles) {
    CScriptable* object = registry.FindIncludingDeleted(handle);
    if (object != nullptr && (classId == 0 || object->IsTypeOf(classId))) out.push_back(object);
  }
}

void CScriptable::GetAddedObjects(ScriptableVec& out, ClassId classId, RelationType type) const {
  if (const RelationSlot* slot = FindSlot(type)) CollectTracked(slot->added, out, classId);
}

void CScriptable::GetRemovedObjects(ScriptableVec& out, ClassId classId, RelationType type) const {
  if (const RelationSlot* slot = FindSlot(type)) CollectTracked(slot->removed, out, classId);
}

bool CScriptable::ContainsObject(const CScriptable& other, RelationType type) const {
  const RelationSlot* slot = FindSlot(type);
  return slot != nullptr && slot->Contains(other);
}

std::vector<RelationType> CScriptable::GetRelationTypes() const {
  std::vector<RelationType> types;
  for (const RelationSlot& slot : m_relations) types.push_back(slot.type);
  return types;
}

// ---- Relating and unrelating ----

bool CScriptable::AddObject(CScriptable& other, RelationType type, std::string* errorText) {
  const std::string pair = GetName() + " and " + other.GetName();
  if (&other == this) return Fail(errorText, GetName() + " cannot be related to itself");
  if (IsDeleted() || other.IsDeleted()) return Fail(errorText, "Cannot relate deleted objects " + pair);
  if (ContainsObject(other, type)) return Fail(errorText, pair + " are already related");
  if (type.GetId() == relation::ParentChild) {
    CScriptable& parent = type.IsForward() ? *this : other;
    CScriptable& child = type.IsForward() ? other : *this;
    if (child.GetParent() != nullptr) return Fail(errorText, child.GetName() + " already has a parent");
    for (const CScriptable* up = &parent; up != nullptr; up = up->GetParent()) {
      if (up == &child) return Fail(errorText, child.GetName() + " cannot become a child of its own descendant");
    }
  } else {
    const RelationDesc* desc = CMetaClassManager::Instance().GetRelation(type.GetId());
    if (desc == nullptr) return Fail(errorText, "Unknown relation " + std::to_string(type.GetId()));
    CScriptable& source = type.IsForward() ? *this : other;
    CScriptable& target = type.IsForward() ? other : *this;
    if (!source.IsTypeOf(desc->source) || !target.IsTypeOf(desc->target)) {
      return Fail(errorText, "Relation " + desc->name + " cannot lead from " + source.GetClassName() + " to " +
                                 target.GetClassName());
    }
    if (desc->single && source.GetObject(0, RelationType(desc->id)) != nullptr) {
      return Fail(errorText, source.GetName() + " already has its one " + desc->name + " relation");
    }
  }
  Link(other, type);
  return true;
}

bool CScriptable::RemoveObject(CScriptable& other, RelationType type) {
  if (!ContainsObject(other, type)) return false;
  Unlink(other, type);
  return true;
}

bool CScriptable::SetObjects(const ScriptableVec& objects, RelationType type, bool removeOthers) {
  if (removeOthers) {
    ScriptableVec current;
    GetObjects(current, 0, type);
    for (CScriptable* object : current) {
      if (std::find(objects.begin(), objects.end(), object) == objects.end()) Unlink(*object, type);
    }
  }
  bool allAdded = true;
  for (CScriptable* object : objects) {
    if (object != nullptr && !ContainsObject(*object, type)) allAdded = AddObject(*object, type) && allAdded;
  }
  if (removeOthers) {
    // Objects related before kept their old places; the relation takes the given order.
    if (RelationSlot* slot = FindSlot(type)) {
      ScriptableVec ordered;
      for (CScriptable* object : objects) {
        if (object != nullptr && ContainsObject(*object, type) &&
            std::find(ordered.begin(), ordered.end(), object) == ordered.end()) {
          ordered.push_back(object);
        }
      }
      slot->Reorder(ordered);
    }
  }
  return allAdded;
}

void CScriptable::Link(CScriptable& other, RelationType type) {
  RelationSlot& mine = Slot(type);
  mine.Append(other);
  TrackAdded(mine.added, mine.removed, other.GetHandle());
  RelationSlot& theirs = other.Slot(type.ReverseDir());
  theirs.Append(*this);
  TrackAdded(theirs.added, theirs.removed, GetHandle());
  OnRelationModified(type, other, true);
  other.OnRelationModified(type.ReverseDir(), *this, true);
}

void CScriptable::Unlink(CScriptable& other, RelationType type) {
  RelationSlot& mine = Slot(type);
  mine.Erase(other);
  TrackRemoved(mine.added, mine.removed, other.GetHandle());
  RelationSlot& theirs = other.Slot(type.ReverseDir());
  theirs.Erase(*this);
  TrackRemoved(theirs.added, theirs.removed, GetHandle());
  OnRelationModified(type, other, false);
  other.OnRelationModified(type.ReverseDir(), *this, false);
}

void CScriptable::DetachAll() {
  for (std::size_t i = 0; i < m_relations.size(); ++i) {
    while (!m_relations[i].related.empty()) {
      Unlink(*m_relations[i].related.back().object, m_relations[i].type);
    }
  }
}

// ---- Commit and cloning ----

void CScriptable::ClearRelationChanges() {
  for (RelationSlot& slot : m_relations) {
    slot.added.clear();
    slot.removed.clear();
  }
}

void CScriptable::DoCloneCopyOtherRelations(CScriptable& copy) const {
  for (const RelationSlot& slot : m_relations) {
    const RelationId id = slot.type.GetId();
    if (id == relation::ParentChild || id == relation::Result || !CloneRelationType(slot.type)) continue;
    for (const Related& entry : slot.related) copy.AddObject(*entry.object, slot.type);
  }
}

}  // namespace framework
}  // namespace kel
