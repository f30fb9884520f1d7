#include "commands.h"
#include "layers.h"

namespace
{
Status Compile(const Options& options)
{
    return BuildImage(options, Inputs::kTexts);
}
} // namespace

const Command kCompileCommand = {
    "compile",
    "TEXT...",
    "make an image of texts",
    "Makes an image of version 2.7 of texts, one key=text a line. Where several\n"
    "texts have a key, the last one counts. A bad line is told by file and number,\n"
    "and nothing is written then. Identifiers count the keys as they first come.\n",
    kImageOptions | kCodePageOption,
    1,
    kAnyNumber,
    Compile};
