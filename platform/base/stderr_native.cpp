#include "printable.h"

namespace platform
{
// Windows buffers a stream that is no console, and a process that dies writes no buffer: the text
// is written at once.
void WriteToStderr(std::string_view text)
{
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}
} // namespace platform
