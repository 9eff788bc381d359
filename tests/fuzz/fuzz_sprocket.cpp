// Feeds arbitrary texts to the Sprocket reader, as a scene file and as the
// render options of a source-type project: both come from users' disks. A bad
// text must come back as an error, never a crash or a hang; what is accepted
// must draw, at a small size, without fault.

#include <server/render/FrameRenderer.h>
#include <server/render/RenderSettings.h>
#include <server/sprocket/SprocketReader.h>
#include <server/sprocket/SprocketRenderer.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto options = tetherserver::SprocketReader::ParseOptions(text);
  const auto document = tetherserver::SprocketReader::Parse(text, "/fuzz/scene.spkscene");
  if (!document) return 0;
  tether::VideoRenderOptions small;
  small.SetBounds(24, 16);
  for (const auto& scene : document->scenes) {
    const auto composition = tetherserver::SprocketRenderer::Build(scene, options ? *options : tetherserver::SprocketRenderOptions{});
    const auto settings = tetherserver::RenderSettings::Resolve(composition, small);
    if (!settings) continue;
    std::vector<unsigned char> pixels(settings->FrameBytes());
    tetherserver::FrameRenderer::Render(composition, composition.FramesToTime(composition.durationFrames / 2),
                                        *settings, settings->MakeBuffer(pixels.data()));
  }
  return 0;
}
