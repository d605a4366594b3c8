// GEGL's side of kv_gegl_compare: each row's graph built in C and blitted
// into a linear float buffer, on kCompareThreads threads.
#pragma once

#include "CompareImage.h"
#include "CompareWork.h"

namespace kvbench {

// Starts GEGL (once per process, as GEGL requires) and stops it when destroyed.
class GeglCompare {
public:
    GeglCompare();
    ~GeglCompare();
    GeglCompare(const GeglCompare&) = delete;
    GeglCompare& operator=(const GeglCompare&) = delete;

    // Renders the work once over the whole 2048 x 2048 extent. Every render
    // builds a fresh graph, so no node cache holds an earlier result;
    // building it is not timed, only the blit that computes the texels.
    CompareRender render(const CompareRow& row) const;
};

} // namespace kvbench
