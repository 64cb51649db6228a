#pragma once

/// Marks what the module offers to those who load it. Everything else is hidden; ptpbaseMIB.map holds the
/// linker to exactly this list.
#define PTPSNMP_EXPORT __attribute__((visibility("default")))
