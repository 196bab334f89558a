#pragma once
// The one registry of run-time types, the `types` global that host and plugins share.
//
// Types are found by primary name or alias. Registration runs on one thread at start-up; after
// that the registry is only read, from any thread, and only names known to be registered are
// looked up from workers (GetType of an unknown name writes).

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "reflection/type.h"

namespace tv {

class TypeRegistry {
public:
  TypeRegistry() = default;
  ~TypeRegistry();
  TypeRegistry(const TypeRegistry&) = delete;
  TypeRegistry& operator=(const TypeRegistry&) = delete;

  // The type of a primary name or alias. An unknown name gets a new empty type under that name,
  // which a later registration completes: fields may name types registered after them. Never null.
  Type* GetType(const std::string& type_name);
  template <typename T>
  Type* GetType() {
    return GetType(TypeName<T>());
  }
  // The type of a primary name or alias, or null; creates nothing.
  Type* FindType(const std::string& type_name) const;
  // Enters or replaces an alias.
  void AddAlias(const std::string& alias, Type* type);
  // The aliases that lead to `type`, in name order.
  std::vector<std::string> GetAliases(const Type* type) const;
  // False for a field that is not written to documents.
  bool IsSerialized(const Type* type, const TypeField* field) const;

  // Deletes every type. The fields and methods of all types go first, since a field's default
  // value needs its own type (maybe another one) to be deleted; then the aliases, the types and the
  // excluded field lists. Objects that a plugin registered hold code of that plugin: a host shuts
  // the registry down before it unloads plugins, or never.
  void Shutdown();

  std::map<Type*, std::vector<TypeField*>> excluded_fields;
  std::map<std::string, std::unique_ptr<Type>> types;  // by primary name
  std::map<std::string, Type*> aliases;
};

} // namespace tv
