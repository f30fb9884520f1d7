// The code page of texts that don't name theirs.

#ifndef ZDICT_IMAGES_CODE_PAGE_H
#define ZDICT_IMAGES_CODE_PAGE_H

struct CodePage
{
    unsigned int mNumber = 65001;
    bool mIsGiven = false; // by the command line
};

#endif
