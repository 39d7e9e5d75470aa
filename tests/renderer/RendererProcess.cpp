#include "RendererProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <vector>

extern char** environ;

juce::File RendererProcess::binary()
{
    // The suite runs from <build>/tests/, so the build tree is also found from here
    // when the environment doesn't name it.
    auto buildTree = juce::File (juce::SystemStats::getEnvironmentVariable ("SAMPIVO_BINARY_DIR", {}));

    if (buildTree == juce::File())
        buildTree = juce::File::getSpecialLocation (juce::File::currentExecutableFile)
                        .getParentDirectory()
                        .getParentDirectory();

    return buildTree.getChildFile ("tools").getChildFile ("sampivo-render");
}

juce::File RendererProcess::bundle()
{
    return juce::File (juce::SystemStats::getEnvironmentVariable ("SAMPIVO_VST3_BUNDLE", {}));
}

RendererProcess::Result RendererProcess::run (const juce::StringArray& arguments, const juce::File& scratchFolder,
                                              const juce::StringArray& extraEnvironment)
{
    const auto outFile = scratchFolder.getNonexistentChildFile ("stdout", ".txt");
    const auto errFile = scratchFolder.getNonexistentChildFile ("stderr", ".txt");

    // argv and envp as the C strings posix_spawn wants, kept alive in std::strings.
    std::vector<std::string> argumentStrings { binary().getFullPathName().toStdString() };

    for (const auto& argument : arguments)
        argumentStrings.push_back (argument.toStdString());

    std::vector<std::string> environmentStrings;

    for (auto** entry = environ; *entry != nullptr; ++entry)
        environmentStrings.emplace_back (*entry);

    for (const auto& entry : extraEnvironment)
        environmentStrings.push_back (entry.toStdString());

    std::vector<char*> argv, envp;

    for (auto& text : argumentStrings)
        argv.push_back (text.data());

    for (auto& text : environmentStrings)
        envp.push_back (text.data());

    argv.push_back (nullptr);
    envp.push_back (nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init (&actions);
    posix_spawn_file_actions_addopen (&actions, 1, outFile.getFullPathName().toRawUTF8(),
                                      O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen (&actions, 2, errFile.getFullPathName().toRawUTF8(),
                                      O_WRONLY | O_CREAT | O_TRUNC, 0644);

    Result result;
    pid_t child = 0;
    const auto spawned = posix_spawn (&child, argv[0], &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy (&actions);

    if (spawned != 0)
    {
        result.err = "could not start " + binary().getFullPathName();
        return result;
    }

    int status = 0;
    waitpid (child, &status, 0);

    result.exitedNormally = WIFEXITED (status);
    result.exitCode = result.exitedNormally ? WEXITSTATUS (status) : -1;
    result.out = outFile.loadFileAsString();
    result.err = errFile.loadFileAsString();
    return result;
}
