#include "reflection/type_registry.h"

#include <algorithm>

namespace tv {

Type* GetTypeOfName(TypeRegistry& registry, const std::string& type_name) { return registry.GetType(type_name); }

TypeRegistry::~TypeRegistry() { Shutdown(); }

Type* TypeRegistry::GetType(const std::string& type_name) {
  auto found = types.find(type_name);
  if (found != types.end() && found->second != nullptr) return found->second.get();
  auto alias = aliases.find(type_name);
  if (alias != aliases.end() && alias->second != nullptr) return alias->second;
  std::unique_ptr<Type>& entry = types[type_name];
  entry = std::make_unique<Type>(this, type_name);
  return entry.get();
}

Type* TypeRegistry::FindType(const std::string& type_name) const {
  auto found = types.find(type_name);
  if (found != types.end() && found->second != nullptr) return found->second.get();
  auto alias = aliases.find(type_name);
  return alias != aliases.end() ? alias->second : nullptr;
}

void TypeRegistry::AddAlias(const std::string& alias, Type* type) { aliases[alias] = type; }

std::vector<std::string> TypeRegistry::GetAliases(const Type* type) const {
  std::vector<std::string> names;
  for (const auto& [alias, target] : aliases)
    if (target == type) names.push_back(alias);
  return names;
}

bool TypeRegistry::IsSerialized(const Type* type, const TypeField* field) const {
  auto found = excluded_fields.find(const_cast<Type*>(type));
  if (found == excluded_fields.end()) return true;
  return std::find(found->second.begin(), found->second.end(), field) == found->second.end();
}

void TypeRegistry::Shutdown() {
  for (auto& [type_name, type] : types) {
    if (type == nullptr) continue;
    type->fields.clear();
    type->methods.clear();
  }
  aliases.clear();
  types.clear();
  excluded_fields.clear();
}

} // namespace tv
