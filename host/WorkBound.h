#pragma once

namespace host {

// To find that a row is not there the SNMP library walks over all rows of the table, and one message may ask so for
// thousands of rows. To find the first cell that a view permits it tries each cell that it does not.

/// A message is served until it has cost as much as this: some 0.1 s of CPU. Its first name is always served.
inline constexpr unsigned long mostRowsPerMessage = 1'000'000;  ///< that are walked over
inline constexpr unsigned long rowsPerCell = 50;                ///< that cost as much as a cell which is tried

/// Bounds the work that one SNMP message causes in the tables of PTPBASE-MIB which are registered now, until they are
/// unregistered. A message that asks for more gets tooBig; an answer to a GetBulk ends there, as if there were no room
/// for more. Holds in any agent that the tables are in. Logs an error for a table that cannot be bounded.
void boundWorkOfTables(unsigned long mostRows = mostRowsPerMessage);

}  // namespace host
