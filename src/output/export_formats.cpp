#include "output/export_formats.h"

#include <cctype>

namespace tessel {
namespace {

constexpr ExportFormatInfo kExportFormats[] = {
    {"pajek", "Pajek", "network.net", ExportFormat::Pajek, std::nullopt},
    {"mfinder", "MFinder", "input_for_mfinder.txt", ExportFormat::Mfinder, std::nullopt},
    {"sif", "Cytoscape", "network4cytoscape.sif", ExportFormat::Sif, std::nullopt},
    {"big-cluster", "the largest island as SIG", "big_cluster.sig", ExportFormat::BigCluster,
     std::nullopt},
    {"graphml", "GraphML", "network.graphml", std::nullopt, ExchangeFormat::GraphMl},
    {"table", "CSV table", "network.csv", std::nullopt, ExchangeFormat::Table},
    {"signed-sif", "signed SIF", "network_signed.sif", std::nullopt, ExchangeFormat::SignedSif},
    {"cx2", "CX2", "network.cx2", std::nullopt, ExchangeFormat::Cx2},
};

}  // namespace

std::span<const ExportFormatInfo> ExportFormats() {
  return kExportFormats;
}

const ExportFormatInfo* FindExportFormat(std::string_view name) {
  for (const ExportFormatInfo& format : kExportFormats) {
    if (format.name == name) return &format;
  }
  return nullptr;
}

std::vector<std::string> ExportFormatNames() {
  std::vector<std::string> names;
  for (const ExportFormatInfo& format : kExportFormats) names.emplace_back(format.name);
  return names;
}

const ExportFormatInfo* ExchangeFormatForFile(const std::filesystem::path& path) {
  std::string extension = path.extension().string();
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (extension == ".cx" || extension == ".json") return FindExportFormat("cx2");
  for (const ExportFormatInfo& format : kExportFormats) {
    if (format.exchange &&
        std::filesystem::path(format.defaultFile).extension().string() == extension) {
      return &format;
    }
  }
  return nullptr;
}

std::vector<std::filesystem::path> WriteExportFormat(const Network& network,
                                                     const ColorShapeTable& colors,
                                                     const ExportFormatInfo& format,
                                                     const std::filesystem::path& path) {
  if (format.format) return WriteExport(network, *format.format, path);
  WriteExchange(network, colors, *format.exchange, path);
  return {path};
}

}  // namespace tessel
