#include <kilnmediatypes/color/ColorSpace.h>

#include <xxhash.h>

#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>

namespace kilnmediatypes::color {
namespace {

class ColorSpaceCache {
 public:
  static ColorSpaceCache& Instance() {
    static ColorSpaceCache* cache = new ColorSpaceCache();  // lives for the process
    return *cache;
  }

  void Add(const ColorSpace& space) {
    const kilncore::utility::Guid key = space.ToGuid();
    std::lock_guard lock(mMutex);
    mSpaces.try_emplace(key, space);
  }

  std::optional<ColorSpace> Find(const kilncore::utility::Guid& guid) const {
    std::lock_guard lock(mMutex);
    auto it = mSpaces.find(guid);
    if (it == mSpaces.end()) return std::nullopt;
    return it->second;
  }

 private:
  mutable std::mutex mMutex;
  std::unordered_map<kilncore::utility::Guid, ColorSpace> mSpaces;
};

}  // namespace

ColorSpace::ColorSpace(std::string name, std::vector<uint8_t> definition)
    : mName(std::move(name)), mDefinition(std::move(definition)) {}

kilncore::utility::Guid ColorSpace::ToGuid() const {
  if (IsEmpty()) return kilncore::utility::Guid();
  // The name's length goes first so that a name and definition can't be
  // regrouped into another pair with the same bytes.
  std::unique_ptr<XXH3_state_t, decltype(&XXH3_freeState)> state(XXH3_createState(),
                                                                 &XXH3_freeState);
  if (!state) throw std::bad_alloc();
  XXH3_128bits_reset(state.get());
  const uint64_t nameLength = mName.size();
  uint8_t lengthBytes[8];
  for (int i = 0; i < 8; ++i) lengthBytes[i] = static_cast<uint8_t>(nameLength >> (8 * i));
  XXH3_128bits_update(state.get(), lengthBytes, sizeof lengthBytes);
  XXH3_128bits_update(state.get(), mName.data(), mName.size());
  XXH3_128bits_update(state.get(), mDefinition.data(), mDefinition.size());
  const XXH128_hash_t hash = XXH3_128bits_digest(state.get());
  XXH128_canonical_t canonical;
  XXH128_canonicalFromHash(&canonical, hash);
  return kilncore::utility::Guid::FromBytes(canonical.digest);
}

ColorSpace GetDefaultColorSpace() { return ColorSpace(); }

void AddColorSpaceToCache(const ColorSpace& space) {
  if (space.IsEmpty()) return;
  ColorSpaceCache::Instance().Add(space);
}

std::optional<ColorSpace> FindColorSpaceInCache(const kilncore::utility::Guid& guid) {
  return ColorSpaceCache::Instance().Find(guid);
}

}  // namespace kilnmediatypes::color
