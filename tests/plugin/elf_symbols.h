#pragma once
// Reads the names that a 64-bit ELF shared object exports: defined global or weak symbols of its
// dynamic symbol table, as the dynamic loader sees them.

#include <elf.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

inline std::set<std::string> ExportedSymbols(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> image((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  std::set<std::string> names;
  if (image.size() < sizeof(Elf64_Ehdr) || std::memcmp(image.data(), ELFMAG, SELFMAG) != 0) return names;
  Elf64_Ehdr header;
  std::memcpy(&header, image.data(), sizeof(header));
  auto section = [&](size_t index) {
    Elf64_Shdr s;
    std::memcpy(&s, image.data() + header.e_shoff + index * header.e_shentsize, sizeof(s));
    return s;
  };
  for (size_t i = 0; i < header.e_shnum; ++i) {
    const Elf64_Shdr symbols = section(i);
    if (symbols.sh_type != SHT_DYNSYM) continue;
    const Elf64_Shdr strings = section(symbols.sh_link);
    for (size_t offset = 0; offset + sizeof(Elf64_Sym) <= symbols.sh_size; offset += sizeof(Elf64_Sym)) {
      Elf64_Sym symbol;
      std::memcpy(&symbol, image.data() + symbols.sh_offset + offset, sizeof(symbol));
      const unsigned binding = ELF64_ST_BIND(symbol.st_info);
      if (symbol.st_shndx == SHN_UNDEF || (binding != STB_GLOBAL && binding != STB_WEAK)) continue;
      names.insert(image.data() + strings.sh_offset + symbol.st_name);
    }
  }
  return names;
}
