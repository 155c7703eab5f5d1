#pragma once
// CScriptable: the base of every object in the host's model.
//
// Lifecycle, as the host runs it:
// - Objects are made only by CScriptableCreator. A new object starts Created; it gets a handle, its
//   class's default property values, an automatic name and its parent; then the host calls OnInit.
// - A property change makes a Clean object Modified and calls the delegates registered for it.
// - A relation change calls OnRelationModified(type, other, added) on both objects, each seeing the
//   relation from its own side; the base leaves the state alone.
// - MarkDelete(true, true) calls OnMarkDelete on the object and its subtree, marks them Deleted
//   and detaches them from every relation at once; the detachment is recorded, so
//   GetRemovedObjects reports them until the other object's next commit. Handle lookups, the
//   locator and relation walks no longer find deleted objects. Result objects are destroyed at
//   once; other deleted objects stay until DestroyDeletedObjects (the apply's commit).
// - Destruction tells every CScriptableDestroyObserver first (ScriptableDestroyObserver.h).
// - Commit (the apply's last step) makes an object Clean, resets its added/removed lists and its
//   activated state.
// All of it runs on the business-layer thread; nothing here is locked.

#include <boost/container/small_vector.hpp>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "kel/framework/DataStore.h"
#include "kel/framework/Delegate.h"
#include "kel/framework/MetaClass.h"
#include "kel/framework/Types.h"

namespace kel {
namespace framework {

class CMessage;
enum EventType : unsigned;

using PropertyChangeDelegate = Delegate<FastDelegate2<CScriptable*, PropId, void>>;

// What happened to a result object, for the result module.
enum class ResultChange { Created, Changed, Deleted };
using ResultObserver = void (*)(const CScriptable& result, ResultChange change);

class CScriptable {
 public:
  enum State {
    STATE_CREATED = 0,
    STATE_MODIFIED = 1,
    STATE_DELETED = 2,
    STATE_CLEAN = 3,
    STATE_DELETED_LOCAL = 4,
  };

  CScriptable();
  CScriptable(const CScriptable&) = delete;
  CScriptable& operator=(const CScriptable&) = delete;
  virtual ~CScriptable();

  // ---- Properties by id. A read or write of an id the class does not have, or with the wrong
  // type, throws CKelLogicError naming the property and the class. ----
  std::uint8_t GetU8(PropId id) const;
  std::uint16_t GetU16(PropId id) const;
  std::uint32_t GetU32(PropId id) const;
  std::uint64_t GetU64(PropId id) const;
  bool GetBool(PropId id) const;
  double GetDouble(PropId id) const;
  const std::string& GetString(PropId id) const;
  const HandleList& GetHandles(PropId id) const;
  // Text form of any property (see PropertyValue.h).
  void Get(PropId id, std::string& text) const;
  std::string Get(const char* name) const;
  void Get(const char* name, std::string& text) const;

  void Set(PropId id, const std::string& value);
  void Set(PropId id, const char* value);
  void Set(PropId id, bool value);
  void Set(PropId id, double value);
  void Set(PropId id, unsigned char value);
  void Set(PropId id, unsigned short value);
  void Set(PropId id, unsigned int value);
  void Set(PropId id, unsigned long value);
  void Set(PropId id, const HandleList& value);
  // Sets a property by name from its text form; bad text throws CKelRunTimeError naming the
  // property, the object and what was expected.
  void Set(const char* name, const std::string& text);
  // Writes any value of the property's own type; the one path every setter goes through.
  void SetValue(PropId id, const PropertyValue& value);

  CDataStore& GetDataStore() { return m_dataStore; }
  const CDataStore& GetDataStore() const { return m_dataStore; }

  // Calls the delegate after each change of the property (not when a write keeps the value).
  void RegisterPropertyChangeDelegate(PropId id, const PropertyChangeDelegate& delegate);
  void UnregisterPropertyChangeDelegate(PropId id, const PropertyChangeDelegate& delegate);

  // ---- Identity ----
  Handle GetHandle() const;
  const std::string& GetName() const;
  bool GetActive() const;
  bool IsTypeOf(ClassId id) const;
  ClassId GetClassId() const;
  std::string GetClassName() const;
  virtual CMetaClass* GetMetaClass() const;
  virtual bool IsSingleton() const { return false; }
  // True when `address` lies in this object from the start of its most-derived object up to its
  // CScriptable part. That span holds the `this` of every class from the most-derived one down to
  // CScriptable, whatever other bases come first, so it matches the object pointer a delegate
  // keeps when bound with MakeDelegate(this, ...) in any of them. Objects not made by
  // CScriptableCreator know only their CScriptable part. Safe to call from the destructor.
  bool HasAddress(const void* address) const;

  // ---- Relations. Every walk appends to `out` in relation order and skips deleted objects;
  // classId 0 matches any class. ----
  CScriptable* GetParent() const;
  CScriptable* GetObject(ClassId classId, RelationType type = ParentChild()) const;
  CScriptable* GetObject(const std::string& className, RelationType type = ParentChild()) const;
  void GetObjects(ScriptableVec& out, ClassId classId = 0, RelationType type = ParentChild()) const;
  void GetObjects(ScriptableVec& out, const std::string& className, RelationType type = ParentChild()) const;
  // Objects added to or removed from the relation since this object's last commit. Adding back
  // a removed object takes it off the removed list (nothing changed for it); removing an added
  // one moves it from the added to the removed list, so that a container that is never committed
  // (the project) still reports every object removed from it.
  void GetAddedObjects(ScriptableVec& out, ClassId classId, RelationType type) const;
  void GetRemovedObjects(ScriptableVec& out, ClassId classId, RelationType type) const;
  bool ContainsObject(const CScriptable& other, RelationType type) const;
  // The relation kinds this object has ever been part of, in first-use order.
  std::vector<RelationType> GetRelationTypes() const;
  // Relates this object to `other`. Returns false and, when errorText is given, says why when the
  // relation cannot be made: already related, an object related to itself, a deleted object, a
  // second parent, a parent-child cycle, classes that the relation's description does not allow,
  // or a second target of a single-target relation.
  bool AddObject(CScriptable& other, RelationType type, std::string* errorText = nullptr);
  // Returns false when the two objects are not related that way.
  bool RemoveObject(CScriptable& other, RelationType type);
  // Makes the relation hold `objects` (in that order) when removeOthers is true, or adds those that
  // are missing when it is false. Returns false if any object could not be added.
  bool SetObjects(const ScriptableVec& objects, RelationType type, bool removeOthers = true);

  // ---- State ----
  State GetObjectState() const { return m_state; }
  void SetObjectState(State state) { m_state = state; }
  // True when the object changed since its last commit (not Clean). With checkChildren, a dirty
  // child makes the object dirty too.
  bool IsObjectDirty(bool checkChildren = false) const;
  bool IsDeleted() const { return m_state == STATE_DELETED || m_state == STATE_DELETED_LOCAL; }
  // 1 when the active flag changed since the object's last commit, else 0.
  int GetActivatedState() const;

  // Marks the object (and, with withChildren, its subtree) Deleted as described above. With
  // callHooks, OnMarkDelete runs on each object before it is marked.
  void MarkDelete(bool withChildren = true, bool callHooks = true);
  // Deletes and destroys the object and its subtree at once.
  void Delete();
  // Every property back to its class default, except the handle, the name and the read-only
  // properties (the host maintains those: a port's Online, a command's State).
  void ResetDefaults();
  // For singletons: defaults back and, with destroyChildren, every child destroyed.
  void ResetSingleton(bool destroyChildren);
  // Gives the object a fresh automatic name through OnUpdateAutoObjectName.
  void UpdateObjectName();

  // A copy of this object (class, properties but handle and name, children that AllowChildClone
  // admits, and other relations) under `parent`. Returns null when the class cannot be made.
  // Throws CKelLogicError when `parent` is the object itself or lies below it.
  CScriptable* Clone(CScriptable* parent);

  // ---- Hooks ----
  virtual bool OnInit() { return true; }
  virtual bool OnMarkDelete() { return true; }
  virtual bool OnLoadCompleted() { return true; }
  virtual void OnRelationModified(RelationType type, CScriptable& other, bool added);
  virtual void EventCallback(EventType type, CMessage& message);
  // Runs a class-specific operation; the base knows none and returns false.
  virtual bool PerformOperation(unsigned operation, CMessage& input, CMessage& output);
  // Asked of each child when its parent's active flag changes: true takes the parent's value.
  // The base keeps the child's own flag.
  virtual bool OnPropagatingActive(bool parentActive);
  // Offers this object's active flag to its children; the host calls it after the flag changes.
  virtual void DoPropagateActiveState();
  // Sets the automatic name; the base uses "<class name> <n>".
  virtual void OnUpdateAutoObjectName();
  virtual CScriptable* DoClone(CScriptable* parent);
  virtual void DoCloneChildren(CScriptable& copy);
  virtual void DoCloneCopyProperties(CScriptable& copy) const;
  // Copies the relations other than parent-child and results that CloneRelationType admits.
  virtual void DoCloneCopyOtherRelations(CScriptable& copy) const;
  // Whether a copy keeps relations of this kind; the base keeps them all.
  virtual bool CloneRelationType(RelationType) const { return true; }
  virtual void DoCloneCopyInternals(CScriptable& copy) const;
  virtual bool AllowChildClone(const CScriptable& child) const;

  // ---- Host side: used by the creator, the apply's commit and the host's loaders ----
  // Binds a freshly made object to its class: data store with defaults, handle, state Created.
  void InitObject(CMetaClass& meta, Handle handle);
  // Makes the object Clean and resets its added/removed lists and activated state.
  void Commit();
  static void CommitObjects(const ScriptableVec& objects);
  // Destroys every object marked deleted and not yet destroyed; returns how many.
  static std::size_t DestroyDeletedObjects();
  static std::size_t PendingDeletedCount();
  // The objects marked deleted that DestroyDeletedObjects would destroy now.
  static ScriptableVec PendingDeletedObjects();
  // Destroys the object and its subtree now, through their classes' destroy functions.
  static void DestroyTree(CScriptable* object);
  // The one observer of result objects: told when one is made, when a property of one changes,
  // and just before one is destroyed. Null stops it.
  static void SetResultObserver(ResultObserver observer);
  // Host side: the creator's report of a result object it has made.
  void NotifyResultCreated() const;

 protected:
  // Host side: writes a value with change tracking, read-only properties included.
  void StoreValue(PropId id, const PropertyValue& value);

 private:
  // A related object with its class beside it: lookups by class read one array, not the objects.
  struct Related {
    CScriptable* object;
    const CMetaClass* meta;
  };
  struct RelationSlot {
    RelationType type;
    // Most relations of an object hold one or two others (its parent, its result): those live in
    // the slot itself.
    boost::container::small_vector<Related, 2> related;
    std::vector<Handle> added;  // handles: an entry may outlive its object
    std::vector<Handle> removed;

    void Append(CScriptable& object);
    void Erase(const CScriptable& object);
    void Reorder(const ScriptableVec& ordered);
    bool Contains(const CScriptable& object) const;
    // The place of the first object, from `from` on, whose class is classId or derives from it
    // (any object for 0); related.size() when there is none.
    std::size_t FindOfClass(ClassId classId, std::size_t from = 0) const;
  };

  // Kept in ScriptableRelations.cpp, with the public relation methods.
  RelationSlot* FindSlot(RelationType type);
  const RelationSlot* FindSlot(RelationType type) const;
  RelationSlot& Slot(RelationType type);
  void Link(CScriptable& other, RelationType type);
  void Unlink(CScriptable& other, RelationType type);
  void DetachAll();
  // Empties every relation's added and removed lists: part of a commit.
  void ClearRelationChanges();
  void CollectTracked(const std::vector<Handle>& handles, ScriptableVec& out, ClassId classId) const;
  // Slot of a property of the given type; throws CKelLogicError for another id or type.
  int CheckedIndex(PropId id, PropertyType type) const;
  int IndexOf(PropId id) const;
  void StoreAt(int index, PropId id, const PropertyValue& value);
  // Writes a number or bool straight into its slot (statistics write thirty per result object);
  // anything unusual takes SetValue's way, which throws the error that names it.
  template <class T>
  void SetSimple(PropId id, T value);
  // What follows every change of a value: the object's state, change delegates, the active
  // state's propagation, the result observer.
  void NoteChanged(PropId id);

  CMetaClass* m_meta = nullptr;
  // Where the most-derived object starts; InitObject learns it, once the object is complete.
  const void* m_objectStart = this;
  // The Handle property, which never changes, kept at hand: results and relations ask for it on
  // every change.
  Handle m_handle = 0;
  bool m_isResult = false;
  CDataStore m_dataStore;
  State m_state = STATE_CREATED;
  bool m_activeAtCommit = true;
  std::vector<RelationSlot> m_relations;
  // The first slots' kinds again, inside the object: finding a slot then fetches no other memory
  // before the slot itself (objects seldom have more kinds of relation than this).
  static constexpr std::size_t kInlineSlotTypes = 6;
  RelationType m_slotTypes[kInlineSlotTypes];
  std::map<PropId, std::vector<PropertyChangeDelegate>> m_changeDelegates;
};

// Destroys an object that is no longer wanted (a command made without a parent, say), with its
// subtree. Null is ignored.
void ReleaseScriptable(CScriptable* object);

}  // namespace framework
}  // namespace kel
