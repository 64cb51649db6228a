#pragma once

#include "Device.h"
#include "Tables.h"

namespace test {

/// Puts rows into every table of a container, two or more where the key allows it, each with its status: keys that
/// differ in one field, in the field's own order, and at the field's limits.
void addRows(Device& device);

/// The indexes of a table's rows after addRows(), in order.
const std::vector<Oid>& rowIndexes(const Table& table);

}  // namespace test
