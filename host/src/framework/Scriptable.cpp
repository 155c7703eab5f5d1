#include "kel/framework/Scriptable.h"

#include <algorithm>
#include <functional>

#include "kel/framework/Event.h"
#include "kel/framework/Exceptions.h"
#include "kel/framework/HandleRegistry.h"
#include "kel/framework/HostClassIds.h"
#include "kel/framework/ScriptableCreator.h"
#include "kel/framework/ScriptableDestroyObserver.h"

namespace kel {
namespace framework {

namespace {

// Objects marked deleted that wait for the apply's commit to be destroyed.
std::vector<Handle>& PendingDeletes() {
  static std::vector<Handle> pending;
  return pending;
}

ResultObserver s_resultObserver = nullptr;

void EraseHandle(std::vector<Handle>& handles, Handle handle) {
  handles.erase(std::remove(handles.begin(), handles.end(), handle), handles.end());
}

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
  EraseHandle(added, handle);
  if (std::find(removed.begin(), removed.end(), handle) == removed.end()) removed.push_back(handle);
}

bool Fail(std::string* errorText, const std::string& text) {
  if (errorText != nullptr) *errorText = text;
  return false;
}

void CollectSubtree(CScriptable& root, std::vector<Handle>& out) {
  out.push_back(root.GetHandle());
  ScriptableVec children;
  root.GetObjects(children);
  for (CScriptable* child : children) CollectSubtree(*child, out);
}

}  // namespace

CScriptable::CScriptable() = default;

CScriptable::~CScriptable() {
  NotifyScriptableDestroyed(*this);
  // Normally DestroyTree has detached and unregistered the object already; this covers an
  // object deleted directly.
  if (m_meta != nullptr) {
    DetachAll();
    CHandleRegistry& registry = CHandleRegistry::Instance();
    if (registry.FindIncludingDeleted(GetHandle()) == this) registry.Unregister(GetHandle());
  }
}

// ---- Properties ----

int CScriptable::IndexOf(PropId id) const {
  const int index = m_dataStore.IndexOf(id);
  if (index < 0) m_dataStore.Describe(id, PropertyType::U8, false);  // throws: unknown property
  return index;
}

std::uint8_t CScriptable::GetU8(PropId id) const { return m_dataStore.GetU8(id); }
std::uint16_t CScriptable::GetU16(PropId id) const { return m_dataStore.GetU16(id); }
std::uint32_t CScriptable::GetU32(PropId id) const { return m_dataStore.GetU32(id); }
std::uint64_t CScriptable::GetU64(PropId id) const { return m_dataStore.GetU64(id); }
bool CScriptable::GetBool(PropId id) const { return m_dataStore.GetBool(id); }
double CScriptable::GetDouble(PropId id) const { return m_dataStore.GetDouble(id); }
const std::string& CScriptable::GetString(PropId id) const { return m_dataStore.GetString(id); }
const HandleList& CScriptable::GetHandles(PropId id) const { return m_dataStore.GetHandles(id); }

void CScriptable::Get(PropId id, std::string& text) const { text = ToText(m_dataStore.GetValue(id)); }

std::string CScriptable::Get(const char* name) const {
  std::string text;
  Get(name, text);
  return text;
}

void CScriptable::Get(const char* name, std::string& text) const {
  const int index = m_meta ? m_meta->FindPropertyIndex(std::string(name)) : -1;
  if (index < 0) {
    throw CKelLogicError(GetClassName() + " has no property named '" + name + "'");
  }
  text = ToText(m_dataStore.At(index).ToValue());
}

void CScriptable::Set(PropId id, const std::string& value) { SetValue(id, value); }
void CScriptable::Set(PropId id, const char* value) { SetValue(id, std::string(value)); }
void CScriptable::Set(PropId id, bool value) { SetSimple(id, value); }
void CScriptable::Set(PropId id, double value) { SetSimple(id, value); }
void CScriptable::Set(PropId id, unsigned char value) { SetSimple(id, std::uint8_t{value}); }
void CScriptable::Set(PropId id, unsigned short value) { SetSimple(id, std::uint16_t{value}); }
void CScriptable::Set(PropId id, unsigned int value) { SetSimple(id, std::uint32_t{value}); }
void CScriptable::Set(PropId id, unsigned long value) { SetSimple(id, std::uint64_t{value}); }
void CScriptable::Set(PropId id, const HandleList& value) { SetValue(id, value); }

void CScriptable::Set(const char* name, const std::string& text) {
  const int index = m_meta ? m_meta->FindPropertyIndex(std::string(name)) : -1;
  if (index < 0) {
    throw CKelLogicError(GetClassName() + " has no property named '" + name + "'");
  }
  const PropertyDesc& desc = m_meta->GetProperties()[static_cast<std::size_t>(index)];
  PropertyValue value;
  try {
    value = FromText(desc.type, text);
  } catch (const CKelRunTimeError& e) {
    throw CKelRunTimeError("Cannot set " + desc.name + " of " + GetName() + ": " + e.GetMessage());
  }
  SetValue(desc.id, value);
}

int CScriptable::CheckedIndex(PropId id, PropertyType type) const {
  const int index = m_dataStore.IndexOf(id);
  if (index < 0 || m_meta->GetProperties()[static_cast<std::size_t>(index)].type != type) {
    m_dataStore.Describe(id, type);  // throws the error that names the property and class
  }
  return index;
}

void CScriptable::SetValue(PropId id, const PropertyValue& value) {
  const int index = CheckedIndex(id, TypeOf(value));
  const PropertyDesc& desc = m_meta->GetProperties()[static_cast<std::size_t>(index)];
  if (desc.readOnly) {
    throw CKelLogicError("Property " + desc.name + " of class " + GetClassName() + " is read-only");
  }
  StoreAt(index, id, value);
}

void CScriptable::StoreValue(PropId id, const PropertyValue& value) {
  StoreAt(CheckedIndex(id, TypeOf(value)), id, value);
}

template <class T>
void CScriptable::SetSimple(PropId id, T value) {
  // A slot always holds its property's type, so a slot holding a T is a property of type T.
  const int index = m_dataStore.IndexOf(id);
  T* current = index >= 0 ? m_dataStore.At(index).GetIf<T>() : nullptr;
  if (current == nullptr || m_meta->GetProperties()[static_cast<std::size_t>(index)].readOnly) {
    SetValue(id, value);
    return;
  }
  if (*current == value) return;
  *current = value;
  NoteChanged(id);
}

void CScriptable::StoreAt(int index, PropId id, const PropertyValue& value) {
  CValueSlot& slot = m_dataStore.At(index);
  if (slot.Equals(value)) return;
  slot.Assign(value);
  NoteChanged(id);
}

void CScriptable::NoteChanged(PropId id) {
  if (m_state == STATE_CLEAN) m_state = STATE_MODIFIED;
  const auto delegates = m_changeDelegates.find(id);
  if (delegates != m_changeDelegates.end()) {
    const std::vector<PropertyChangeDelegate> copy = delegates->second;  // a delegate may unregister itself
    for (const PropertyChangeDelegate& delegate : copy) delegate(this, id);
  }
  if (id == prop::Active) DoPropagateActiveState();
  if (m_isResult && s_resultObserver != nullptr) s_resultObserver(*this, ResultChange::Changed);
}

void CScriptable::RegisterPropertyChangeDelegate(PropId id, const PropertyChangeDelegate& delegate) {
  IndexOf(id);  // throws for a property the class does not have
  m_changeDelegates[id].push_back(delegate);
}

void CScriptable::UnregisterPropertyChangeDelegate(PropId id, const PropertyChangeDelegate& delegate) {
  const auto it = m_changeDelegates.find(id);
  if (it == m_changeDelegates.end()) return;
  std::vector<PropertyChangeDelegate>& list = it->second;
  list.erase(std::remove(list.begin(), list.end(), delegate), list.end());
  if (list.empty()) m_changeDelegates.erase(it);
}

// ---- Identity ----

Handle CScriptable::GetHandle() const { return m_meta ? m_handle : 0; }
const std::string& CScriptable::GetName() const { return m_dataStore.GetString(prop::Name); }
bool CScriptable::GetActive() const { return m_dataStore.GetBool(prop::Active); }
bool CScriptable::IsTypeOf(ClassId id) const { return m_meta != nullptr && m_meta->IsTypeOf(id); }
ClassId CScriptable::GetClassId() const { return m_meta ? m_meta->GetClassId() : 0; }
CMetaClass* CScriptable::GetMetaClass() const { return m_meta; }
std::string CScriptable::GetClassName() const { return m_meta ? m_meta->GetName() : std::string("(uninitialised)"); }

bool CScriptable::HasAddress(const void* address) const {
  // std::less: the address may belong to any other object, where '<' is unspecified.
  const std::less<const void*> before;
  return !before(address, m_objectStart) && !before(static_cast<const void*>(this), address);
}

// ---- Relations ----

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

CScriptable* CScriptable::GetParent() const { return GetObject(0, ChildParent()); }

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

// ---- State ----

bool CScriptable::IsObjectDirty(bool checkChildren) const {
  if (m_state != STATE_CLEAN) return true;
  if (!checkChildren) return false;
  ScriptableVec children;
  GetObjects(children);
  return std::any_of(children.begin(), children.end(), [](const CScriptable* c) { return c->IsObjectDirty(true); });
}

int CScriptable::GetActivatedState() const { return GetActive() != m_activeAtCommit ? 1 : 0; }

void CScriptable::MarkDelete(bool withChildren, bool callHooks) {
  if (IsDeleted()) return;
  std::vector<Handle> handles;
  if (withChildren) {
    CollectSubtree(*this, handles);
  } else {
    handles.push_back(GetHandle());
  }
  CHandleRegistry& registry = CHandleRegistry::Instance();
  // Hooks run first, while the objects are still in place; a hook may delete objects itself,
  // so every step looks the objects up again.
  if (callHooks) {
    for (Handle handle : handles) {
      if (CScriptable* object = registry.Find(handle)) object->OnMarkDelete();
    }
  }
  ScriptableVec marked;
  for (Handle handle : handles) {
    CScriptable* object = registry.FindIncludingDeleted(handle);
    if (object == nullptr || object->m_state == STATE_DELETED) continue;
    object->m_state = STATE_DELETED;
    marked.push_back(object);
  }
  for (CScriptable* object : marked) object->DetachAll();
  for (CScriptable* object : marked) {
    if (object->IsTypeOf(classid::Result)) {
      DestroyTree(object);
    } else {
      PendingDeletes().push_back(object->GetHandle());
    }
  }
}

void CScriptable::Delete() {
  // MarkDelete detaches the subtree (and destroys result objects, this one included), so the
  // subtree is collected by handle first: every member still there goes now.
  std::vector<Handle> subtree;
  CollectSubtree(*this, subtree);
  MarkDelete(true, true);
  CHandleRegistry& registry = CHandleRegistry::Instance();
  for (Handle handle : subtree) {
    CScriptable* object = registry.FindIncludingDeleted(handle);
    if (object != nullptr && object->IsDeleted()) DestroyTree(object);
  }
}

void CScriptable::ResetDefaults() {
  for (const PropertyDesc& desc : m_meta->GetProperties()) {
    if (desc.id != prop::Handle && desc.id != prop::Name && !desc.readOnly) StoreValue(desc.id, desc.defaultValue);
  }
}

void CScriptable::ResetSingleton(bool destroyChildren) {
  ResetDefaults();
  if (!destroyChildren) return;
  ScriptableVec children;
  GetObjects(children);
  for (CScriptable* child : children) DestroyTree(child);
}

void CScriptable::UpdateObjectName() { OnUpdateAutoObjectName(); }

// ---- Cloning ----

CScriptable* CScriptable::Clone(CScriptable* parent) {
  // A copy below the original would be copied again as one of the original's children, forever.
  for (const CScriptable* up = parent; up != nullptr; up = up->GetParent()) {
    if (up == this) throw CKelLogicError("Cannot clone " + GetName() + " below itself");
  }
  CScriptable* copy = DoClone(parent);
  if (copy == nullptr) return nullptr;
  DoCloneCopyProperties(*copy);
  DoCloneCopyInternals(*copy);
  DoCloneChildren(*copy);
  DoCloneCopyOtherRelations(*copy);
  return copy;
}

CScriptable* CScriptable::DoClone(CScriptable* parent) {
  return CScriptableCreator().Create(m_meta, parent, true, true, 0);
}

void CScriptable::DoCloneChildren(CScriptable& copy) {
  ScriptableVec children;
  GetObjects(children);
  for (CScriptable* child : children) {
    if (AllowChildClone(*child)) child->Clone(&copy);
  }
}

void CScriptable::DoCloneCopyProperties(CScriptable& copy) const {
  for (const PropertyDesc& desc : m_meta->GetProperties()) {
    if (desc.id != prop::Handle && desc.id != prop::Name) copy.StoreValue(desc.id, m_dataStore.GetValue(desc.id));
  }
}

void CScriptable::DoCloneCopyOtherRelations(CScriptable& copy) const {
  for (const RelationSlot& slot : m_relations) {
    const RelationId id = slot.type.GetId();
    if (id == relation::ParentChild || id == relation::Result || !CloneRelationType(slot.type)) continue;
    for (const Related& entry : slot.related) copy.AddObject(*entry.object, slot.type);
  }
}

void CScriptable::DoCloneCopyInternals(CScriptable&) const {}

bool CScriptable::AllowChildClone(const CScriptable& child) const { return !child.IsTypeOf(classid::Result); }

// ---- Hooks ----

void CScriptable::OnRelationModified(RelationType, CScriptable&, bool) {}
void CScriptable::EventCallback(EventType, CMessage&) {}
bool CScriptable::PerformOperation(unsigned, CMessage&, CMessage&) { return false; }
bool CScriptable::OnPropagatingActive(bool) { return false; }

void CScriptable::DoPropagateActiveState() {
  const bool active = GetActive();
  ScriptableVec children;
  GetObjects(children);
  for (CScriptable* child : children) {
    if (child->GetActive() != active && child->OnPropagatingActive(active)) child->StoreValue(prop::Active, active);
  }
}

void CScriptable::OnUpdateAutoObjectName() {
  StoreValue(prop::Name, m_meta->GetName() + " " + std::to_string(m_meta->TakeAutoNameIndex()));
}

// ---- Host side ----

void CScriptable::InitObject(CMetaClass& meta, Handle handle) {
  m_objectStart = dynamic_cast<const void*>(this);
  m_meta = &meta;
  m_handle = handle;
  m_isResult = meta.IsTypeOf(classid::Result);
  m_dataStore.Init(meta);
  *m_dataStore.At(m_dataStore.IndexOf(prop::Handle)).GetIf<std::uint32_t>() = handle;
  m_state = STATE_CREATED;
  m_activeAtCommit = GetActive();
}

void CScriptable::Commit() {
  if (!IsDeleted()) m_state = STATE_CLEAN;
  for (RelationSlot& slot : m_relations) {
    slot.added.clear();
    slot.removed.clear();
  }
  m_activeAtCommit = GetActive();
}

void CScriptable::CommitObjects(const ScriptableVec& objects) {
  for (CScriptable* object : objects) {
    if (object != nullptr) object->Commit();
  }
}

std::size_t CScriptable::DestroyDeletedObjects() {
  std::vector<Handle> pending;
  pending.swap(PendingDeletes());
  std::size_t destroyed = 0;
  for (Handle handle : pending) {
    CScriptable* object = CHandleRegistry::Instance().FindIncludingDeleted(handle);
    if (object == nullptr) continue;
    DestroyTree(object);
    ++destroyed;
  }
  return destroyed;
}

std::size_t CScriptable::PendingDeletedCount() { return PendingDeletes().size(); }

ScriptableVec CScriptable::PendingDeletedObjects() {
  ScriptableVec objects;
  for (Handle handle : PendingDeletes()) {
    if (CScriptable* object = CHandleRegistry::Instance().FindIncludingDeleted(handle)) objects.push_back(object);
  }
  return objects;
}

void CScriptable::DestroyTree(CScriptable* object) {
  if (object == nullptr) return;
  ScriptableVec children;
  object->GetObjects(children);
  for (CScriptable* child : children) DestroyTree(child);
  if (object->m_isResult && s_resultObserver != nullptr) s_resultObserver(*object, ResultChange::Deleted);
  object->DetachAll();
  const Handle handle = object->GetHandle();
  CHandleRegistry::Instance().Unregister(handle);
  EraseHandle(PendingDeletes(), handle);
  CMetaClass* meta = object->m_meta;
  object->m_meta = nullptr;  // the destructor has nothing left to undo
  meta->Destroy(object);
}

void CScriptable::SetResultObserver(ResultObserver observer) { s_resultObserver = observer; }

void CScriptable::NotifyResultCreated() const {
  if (m_isResult && s_resultObserver != nullptr) s_resultObserver(*this, ResultChange::Created);
}

void ReleaseScriptable(CScriptable* object) { CScriptable::DestroyTree(object); }

}  // namespace framework
}  // namespace kel
