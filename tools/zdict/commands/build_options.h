// The options of commands that make an image.

#ifndef ZDICT_COMMANDS_BUILD_OPTIONS_H
#define ZDICT_COMMANDS_BUILD_OPTIONS_H

#include "command_options.h"
#include "images/build.h"

inline void AddBuildOptions(CLI::App* app, BuildOptions* options)
{
    AddCodePage(app, &options->mLoad.mCodePage);
    AddOutput(app, &options->mOutput);
    AddLocale(app, &options->mForm.mLocale, "the locale that the image names, as de_DE");
    AddNumber(app, "--base", "base", &options->mBase,
              "first identifier, if it continues another image (0)");
    AddFlag(app, "--big-endian", &options->mForm.mBigEndian, "write a big-endian image");
    AddFlag(app, "--no-keys", &options->mForm.mNoKeys,
            "leave keys out: texts are found by identifier only");
    AddFlag(app, "--verbose", &options->mVerbose,
            "print how many texts each file has and replaces");
    AddFlag(app, "--comments", &options->mLoad.mComments,
            "put what follows {{*COMMENT*}} into the image's comments");
    AddNoCheck(app, &options->mOffChecks);
}

#endif
