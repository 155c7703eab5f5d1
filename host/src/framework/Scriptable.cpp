// The properties, state and lifecycle of CScriptable; its relations are in ScriptableRelations.cpp.
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
  ClearRelationChanges();
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
  std::vector<Handle>& pending = PendingDeletes();
  pending.erase(std::remove(pending.begin(), pending.end(), handle), pending.end());
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
