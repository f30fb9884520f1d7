#include "indep/U_Memory/HogCounts.h"

#include <new>

#include <platform/base/quiet_new.h>

bool HogCounts::MakeRoom(U_u32 index)
{
    const platform::ScQuietNew quiet; // the table reports the failure
    const U_u32 piece = PieceOf(index);
    if (!mPieces[piece])
        mPieces[piece] = new (std::nothrow) HogCount[kFirstPiece << piece];
    return mPieces[piece] != nullptr;
}

void HogCounts::Clear()
{
    for (U_u32 piece = 0; piece < kPieces && mPieces[piece]; ++piece)
    {
        for (U_u32 element = 0; element < kFirstPiece << piece; ++element)
            mPieces[piece][element].mLive = 0;
    }
}
