#include <kilnloomfactory/ModuleResources.h>

#include <link.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace kilnloomfactory {
namespace {

constexpr std::string_view kNoteOwner = "KilnRes";

struct Search {
  uintptr_t address;
  bool mainProgram;
  uint32_t type;
  std::string_view name;
  std::optional<std::string> found;
};

uint32_t TypeCode(std::string_view type) {
  uint32_t code = 0;
  std::memcpy(&code, type.data(), std::min<size_t>(type.size(), sizeof(code)));
  return code;
}

bool Contains(const dl_phdr_info& info, uintptr_t address) {
  for (int i = 0; i < info.dlpi_phnum; ++i) {
    const ElfW(Phdr)& header = info.dlpi_phdr[i];
    const uintptr_t start = info.dlpi_addr + header.p_vaddr;
    if (header.p_type == PT_LOAD && address >= start && address - start < header.p_memsz) return true;
  }
  return false;
}

size_t Aligned4(size_t size) { return (size + 3) & ~size_t{3}; }

// Looks through one note segment for the resource.
void ReadNotes(const char* notes, size_t size, Search& search) {
  size_t offset = 0;
  while (!search.found && size - offset >= 12) {
    uint32_t header[3];
    std::memcpy(header, notes + offset, sizeof(header));
    const size_t nameAt = offset + 12;
    const size_t descAt = nameAt + Aligned4(header[0]);
    if (descAt > size || Aligned4(header[1]) > size - descAt) return;
    const std::string_view owner(notes + nameAt, header[0] ? header[0] - 1 : 0);
    const std::string_view desc(notes + descAt, header[1]);
    const size_t nameEnd = desc.find('\0');
    if (owner == kNoteOwner && header[2] == search.type && nameEnd != std::string_view::npos &&
        desc.substr(0, nameEnd) == search.name) {
      search.found = std::string(desc.substr(nameEnd + 1));
    }
    offset = descAt + Aligned4(header[1]);
  }
}

int VisitModule(dl_phdr_info* info, size_t, void* data) {
  auto& search = *static_cast<Search*>(data);
  // The main program comes first in the loader's list.
  if (!search.mainProgram && !Contains(*info, search.address)) return 0;
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const ElfW(Phdr)& header = info->dlpi_phdr[i];
    if (header.p_type != PT_NOTE) continue;
    ReadNotes(reinterpret_cast<const char*>(info->dlpi_addr + header.p_vaddr), header.p_memsz, search);
  }
  return 1;
}

}  // namespace

std::optional<std::string> ModuleResources::FindResource(kilnui::loomcontracts::ModuleHandle module,
                                                         std::string_view type, std::string_view name) const {
  Search search{reinterpret_cast<uintptr_t>(module), module == nullptr, TypeCode(type), name, std::nullopt};
  dl_iterate_phdr(&VisitModule, &search);
  return search.found;
}

}  // namespace kilnloomfactory
