#include "OutputPath.h"

#include "RenderFailure.h"

void OutputPath::checkWritable (const juce::File& file)
{
    if (file.isDirectory())
        throw RenderFailure (ExitCode::outputFailed, "can't write " + file.getFullPathName() + ": it is a folder");

    if (! file.getParentDirectory().isDirectory())
        throw RenderFailure (ExitCode::outputFailed, "can't write " + file.getFullPathName() + ": the folder "
                                                         + file.getParentDirectory().getFullPathName()
                                                         + " doesn't exist");
}
