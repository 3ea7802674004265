#include "model/load.h"

namespace tessel {

ColorShapeTable LoadColorsFor(const std::filesystem::path& networkFile,
                              const std::filesystem::path& outputFolder,
                              std::filesystem::path* written) {
  const std::filesystem::path folder =
      networkFile.has_parent_path() ? networkFile.parent_path() : std::filesystem::path(".");
  bool wroteDefault = false;
  ColorShapeTable colors =
      ColorShapeTable::LoadOrCreate({folder, outputFolder}, outputFolder, &wroteDefault);
  if (written != nullptr) {
    *written = wroteDefault ? outputFolder / kColorTableFileName : std::filesystem::path();
  }
  return colors;
}

NetworkWithColors LoadNetworkWithColors(const std::filesystem::path& file,
                                        const ReadOptions& options,
                                        const std::filesystem::path& outputFolder,
                                        Warnings* warnings) {
  NetworkWithColors loaded;
  loaded.network = LoadNetwork(file, options, warnings);
  loaded.colors = LoadColorsFor(file, outputFolder, &loaded.colorsWritten);
  return loaded;
}

}  // namespace tessel
