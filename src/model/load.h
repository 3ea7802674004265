// Loading a network together with the colours table its drawings use: the one way every
// front end reads the network it works on.
#pragma once

#include <filesystem>

#include "model/color_table.h"
#include "model/network.h"
#include "model/readers.h"
#include "model/warnings.h"

namespace tessel {

// The colours table of a network: "colors_and_shapes.txt" beside the network file, else in
// the output folder; when neither holds one, the default table is written into the output
// folder (its path then in `written`, else `written` is emptied).
ColorShapeTable LoadColorsFor(const std::filesystem::path& networkFile,
                              const std::filesystem::path& outputFolder,
                              std::filesystem::path* written = nullptr);

struct NetworkWithColors {
  Network network;
  ColorShapeTable colors;
  std::filesystem::path colorsWritten;  // the default table written, empty when none was
};

// Reads the network (LoadNetwork, remarks into `warnings`), then its colours table
// (LoadColorsFor). A file that cannot be read throws before any table is written.
NetworkWithColors LoadNetworkWithColors(const std::filesystem::path& file,
                                        const ReadOptions& options,
                                        const std::filesystem::path& outputFolder,
                                        Warnings* warnings = nullptr);

}  // namespace tessel
