#include "types_command.h"

#include <cstdio>
#include <string>
#include <vector>

#include "foundation/globals.h"
#include "reflection/type_registry.h"
#include "reflection/value_text.h"

namespace tv {
namespace {

constexpr const char* kTypesUsage =
    "usage: torvane types [NAME]\n"
    "\n"
    "Starts the core as every command does, plugins included, and lists the registered types by\n"
    "primary name, with their aliases in parentheses. With NAME (a primary name or an alias) it\n"
    "prints that type: native name, aliases, size, what kind of value it is, bases, fields (type,\n"
    "default, hint; in the order in which documents hold them), enum values and methods.\n";

std::string Join(const std::vector<std::string>& items) {
  std::string text;
  for (const std::string& item : items) text += (text.empty() ? "" : ", ") + item;
  return text;
}

std::string Kind(const Type& type) {
  if (type.IsEnum()) return "enum";
  if (type.container_factory != nullptr) {
    const std::vector<char> none;
    const Type* element = type.container_factory->MakeReadInterface(&none)->element_type;
    return "vector of " + (element != nullptr ? element->name : std::string("?"));
  }
  if (type.shared_ptr_accessor != nullptr) {
    const Type* pointee = type.shared_ptr_accessor->GetPointeeType();
    return "shared pointer to " + (pointee != nullptr ? pointee->name : std::string("?"));
  }
  if (type.IsBasic()) return "basic value";
  if (type.factory == nullptr) return "no values of its own (abstract, a handle or unregistered)";
  return "value";
}

void PrintType(const Type& type) {
  std::printf("%s\n", type.name.c_str());
  std::printf("  native name: %s\n", type.native_name.c_str());
  const std::vector<std::string> aliases = types->GetAliases(&type);
  std::printf("  aliases: %s\n", aliases.empty() ? "none" : Join(aliases).c_str());
  std::printf("  size: %u\n", type.size);
  std::printf("  kind: %s\n", Kind(type).c_str());
  std::vector<std::string> bases;
  for (const auto& [base, caster] : type.bases) bases.push_back(base != nullptr ? base->name : "?");
  std::printf("  bases: %s\n", bases.empty() ? "none" : Join(bases).c_str());
  if (!type.document_scope.empty()) std::printf("  document scope: %s\n", type.document_scope.c_str());

  std::printf("  fields: %zu\n", type.fields.size());
  for (const auto& [name, field] : type.fields) {
    std::string line = name + ": " + (field->type != nullptr ? field->type->name : field->type_name);
    if (field->HasDefault())
      line += " = " + DescribeValue(field->default_value.type, field->default_value.instance);
    else
      line += " (no default)";
    if (!field->hint.empty()) line += ", hint \"" + field->hint + "\"";
    if (!types->IsSerialized(&type, field.get())) line += ", not written";
    std::printf("    %s\n", line.c_str());
  }
  if (type.IsEnum()) {
    std::printf("  values: %zu\n", type.enum_values.size());
    for (const auto& [name, value] : type.enum_values) std::printf("    %s = %d\n", name.c_str(), value);
  }
  if (!type.methods.empty()) {
    std::printf("  methods: %zu\n", type.methods.size());
    for (const auto& [name, method] : type.methods) {
      std::vector<std::string> parameters;
      for (uint32_t i = 0; i < method->GetParameterCount(); ++i) {
        const Type* parameter = method->GetParameterType(i);
        parameters.push_back(parameter != nullptr ? parameter->name : "?");
      }
      const Type* result = method->GetReturnType();
      std::printf("    %s(%s) -> %s\n", name.c_str(), Join(parameters).c_str(),
                  result != nullptr ? result->name.c_str() : "None");
    }
  }
}

} // namespace

int RunTypesCommand(int argc, char** argv, const HostOptions& host_options) {
  std::string name;
  for (int i = 0; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "-h" || arg == "--help") {
      std::fputs(kTypesUsage, stdout);
      return 0;
    }
    if (!name.empty() || (arg.size() > 1 && arg[0] == '-')) {
      std::fprintf(stderr, "torvane types: unexpected argument '%s'; see torvane types --help\n", arg.c_str());
      return 1;
    }
    name = arg;
  }

  CoreSession session(host_options);
  if (name.empty()) {
    std::printf("types: %zu\n", types->types.size());
    for (const auto& [type_name, type] : types->types) {
      const std::vector<std::string> aliases = types->GetAliases(type.get());
      if (aliases.empty())
        std::printf("  %s\n", type_name.c_str());
      else
        std::printf("  %s (%s)\n", type_name.c_str(), Join(aliases).c_str());
    }
    return 0;
  }
  // FindType, not GetType: looking a name up must not add it.
  const Type* type = types->FindType(name);
  if (type == nullptr) {
    std::fprintf(stderr, "torvane types: unknown type '%s'; torvane types lists them\n", name.c_str());
    return 1;
  }
  PrintType(*type);
  return 0;
}

} // namespace tv
