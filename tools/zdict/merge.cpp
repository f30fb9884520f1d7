#include "commands.h"
#include "layers.h"

namespace
{
Status Merge(const Options& options)
{
    return BuildImage(options, Inputs::kTextsAndImages);
}
} // namespace

const Command kMergeCommand = {
    "merge",
    "FILE...",
    "make one image of images and texts",
    "Loads images of any version, and texts, in order, and makes one image of\n"
    "version 2.7 of them. Where several files have a key, the text of the last one\n"
    "counts, and the last comment that there is. The last locale counts too.\n",
    kImageOptions | kCodePageOption,
    1,
    kAnyNumber,
    Merge};
