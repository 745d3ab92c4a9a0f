#pragma once

#include "doctor/Examination.h"

/// Each looks at one side of the cache and adds what it finds. They ask for nothing that the
/// examination did not collect, other than a second look at a single path that seems wrong.
namespace zel::cli::checks {

/// The file: readable, undamaged, its one row of sums right.
void database(const Examination &all, Findings &findings);
/// The rows of resources against what lies on the disk.
void rows(const Examination &all, Findings &findings);
/// What lies on the disk against the rows, and what fetches have left.
void disk(const Examination &all, Findings &findings);
/// The processes that are registered.
void clients(const Examination &all, Findings &findings);
/// The base directory, its volume and the limits.
void place(const Examination &all, Findings &findings);
/// The lock of the cache, and who has another one.
void lock(const Examination &all, Findings &findings);

} // namespace zel::cli::checks
