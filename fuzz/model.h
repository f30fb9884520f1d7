// The bytes of an input as choices of calls and arguments.
//
//     Choices choices(data, size);
//     RunCalls(choices, model, kCalls);
//
// Without bytes every choice is 0. So the last bytes of an input may begin a call, whose other
// arguments are then 0.

#ifndef FUZZ_MODEL_H
#define FUZZ_MODEL_H

#include <cstddef>
#include <cstdint>

#include "require.h"

class Choices
{
public:
    Choices(const std::uint8_t* data, std::size_t size) : mNext(data), mEnd(data + size)
    {
        std::uint32_t hash = 1;
        for (std::size_t i = 0; i < size; ++i)
            hash = (hash ^ data[i]) * 16777619;
        mMayTakeLong = hash >> 24 < 16;
    }

    bool Empty() const { return mNext == mEnd; }

    // Returns whether the input is one of the sixteenth for calls that take long. All bytes decide,
    // so that the fuzzer cannot breed slow inputs.
    bool MayTakeLong() const { return mMayTakeLong; }

    std::uint8_t Byte() { return Empty() ? 0 : *mNext++; }

    // Returns a number below `count`, of one byte if it suffices.
    // REQUIRES: 0 < `count` <= 65536.
    std::size_t Below(std::size_t count)
    {
        const std::size_t low = Byte();
        return (count > 256 ? low | std::size_t{Byte()} << 8 : low) % count;
    }

    bool Flag() { return Byte() & 1; }

    // Returns 0 to 31 * 2^14, more often a small number: five bits, shifted by twice the other
    // three.
    std::size_t Size()
    {
        const std::size_t byte = Byte();
        return (byte & 31) << (byte >> 5) * 2;
    }

    template <typename T, std::size_t N> const T& Of(const T (&values)[N])
    {
        return values[Below(N)];
    }

    // Takes the first half of the bytes that are left.
    Choices Half()
    {
        Choices half(mNext, static_cast<std::size_t>(mEnd - mNext) / 2);
        mNext = half.mEnd;
        return half;
    }

private:
    const std::uint8_t* mNext;
    const std::uint8_t* mEnd;
    bool mMayTakeLong = false;
};

// Makes calls that the bytes choose, until the bytes are used up. After each call the model
// compares its state with the results of the library.
template <typename Model, std::size_t N>
void RunCalls(Choices& choices, Model& model, void (Model::*const (&calls)[N])(Choices&))
{
    while (!choices.Empty())
    {
        (model.*choices.Of(calls))(choices);
        model.Check();
    }
}

#endif
