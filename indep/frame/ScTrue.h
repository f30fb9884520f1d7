// A flag for as long as a scope lasts.

#ifndef INDEP_FRAME_SC_TRUE_H
#define INDEP_FRAME_SC_TRUE_H

// Sets the flag, and clears it at the end.
class ScTrue
{
public:
    explicit ScTrue(bool& flag) : mFlag(flag) { mFlag = true; }
    ~ScTrue() { mFlag = false; }
    ScTrue(const ScTrue&) = delete;
    ScTrue& operator=(const ScTrue&) = delete;

private:
    bool& mFlag;
};

#endif
