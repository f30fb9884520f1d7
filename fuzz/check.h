// The question of the targets that compare the check of an image with its load.

#ifndef FUZZ_CHECK_H
#define FUZZ_CHECK_H

#include <cstdint>
#include <set>
#include <string>

#include <hollin/ImageCheck.h>

#include "load.h"

// The comments of a walk's dictionary are those that the check has counted. A lone comment is that
// of every entry.
inline void RequireCommentsAgree(const hollin::Dictionary& dictionary,
                                 const hollin::ImageReport& report)
{
    std::uint64_t count = 0;
    for (std::uint32_t id = 0; id < report.mSlots; ++id)
    {
        const hollin::ZString comment = dictionary.GetCommentById(id);
        count += comment.Length() != 0;
        if (report.mComments == 1)
            Require(comment == dictionary.GetCommentById(report.mLoneCommentId));
        Require(2 * comment.Length() <= report.mCommentBytes);
    }
    Require(report.mComments == 1 || count <= report.mComments);
}

// The check and a load into an empty dictionary agree about damage, about the live entries, and
// about those that no look-up finds.
inline void RequireCheckAgrees(const std::uint8_t* data, std::size_t size)
{
    const hollin::ImageReport report = hollin::CheckImage(data, size);
    hollin::Dictionary dictionary;
    Require(Load(dictionary, data, size) != report.mDamaged);
    if (report.mDamaged)
    {
        Require(!report.mField.empty() && !report.mProblem.empty());
        return;
    }
    if (report.mForm == hollin::ImageReport::kText)
        return; // equal keys of a text count once
    if (report.mMajor == 2)
        RequireCommentsAgree(dictionary, report);
    if (!report.mKeyed)
        return; // a store without keys marks no removed slots
    std::uint64_t live = 0;
    std::uint64_t lost = 0;
    std::uint64_t unclear = 0; // entries of which a look-up may find another one
    std::set<std::string> keys;
    std::uint32_t id = 0;
    while (dictionary.NextId(&id))
    {
        const std::string key = CurrentKey(dictionary);
        live += report.mMajor == 1 || !key.empty();
        if (key.empty())
            unclear += report.mMajor == 1;
        else if (!IsNameable(key) || !keys.insert(key).second)
            ++unclear;
        else
            lost += !dictionary.HasString(key.c_str());
    }
    Require(live == report.mLive);
    Require(lost <= report.mUnreachable && report.mUnreachable <= lost + unclear);
}

#endif
