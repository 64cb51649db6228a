#pragma once

#include "NetSnmp.h"

#include <span>

#include "ptpbaseMIB/Column.h"

/// The columns served, table by table in ascending order, without the rows that they read: to hold them beside the MIB
/// and beside the documentation.
namespace PtpSnmp::Mib {

struct CatalogueEntry {
  const char* table;
  unsigned number;
  const char* name;
  const char* attribute;
  const char* converter;
  u_char asnType;
  LengthRule length;
};

std::span<const CatalogueEntry> systemCatalogue() noexcept;
std::span<const CatalogueEntry> clockCatalogue() noexcept;
std::span<const CatalogueEntry> portCatalogue() noexcept;

}  // namespace PtpSnmp::Mib
