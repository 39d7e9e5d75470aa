#pragma once

#include "RenderOptions.h"

#include <ostream>

/** One run of the renderer: gathers the inputs, loads the instrument, applies the
    state and parameters, renders, writes the files and prints the summary. */
class RenderJob
{
public:
    RenderJob (RenderOptions optionsToUse, std::ostream& outputStream);

    /** Throws RenderFailure when an input or output is at fault. */
    void run();

private:
    RenderOptions options;
    std::ostream& out;
};
