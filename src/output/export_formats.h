// The formats `tessel export` writes, in one table: the command's check and help, its
// default file names and the choice of writer all read it.
#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "model/color_table.h"
#include "model/network.h"
#include "output/exchange.h"
#include "output/exports.h"

namespace tessel {

struct ExportFormatInfo {
  std::string_view name;         // as the command takes it: "pajek"
  std::string_view purpose;      // what the file is for, in the help: "Pajek"
  std::string_view defaultFile;  // written in the output folder when no file is named
  // The writer: a file for another tool written from the network alone, or an exchange
  // format that carries every field (and the colours and shapes of the table).
  std::optional<ExportFormat> format;
  std::optional<ExchangeFormat> exchange;
};

// Every format, files for other tools first, then the exchange formats.
std::span<const ExportFormatInfo> ExportFormats();
// The format of that name, or nullptr.
const ExportFormatInfo* FindExportFormat(std::string_view name);
std::vector<std::string> ExportFormatNames();
// The exchange format (GraphML, table, signed SIF, CX2) whose default file has the extension
// of `path` (".cx" and ".json" also mean CX2), or nullptr.
const ExportFormatInfo* ExchangeFormatForFile(const std::filesystem::path& path);

// Writes the network in `format` to `path`; returns the files written (MFinder's names.txt
// too). Throws OutputError on failure.
std::vector<std::filesystem::path> WriteExportFormat(const Network& network,
                                                     const ColorShapeTable& colors,
                                                     const ExportFormatInfo& format,
                                                     const std::filesystem::path& path);

}  // namespace tessel
