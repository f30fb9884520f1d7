#include <win32/message_queue.h>

#include <win32/threads.h>

#include "thread_queue.h"

namespace win32
{
int PeekMessageW(MSG* message, void* window, unsigned int minimum, unsigned int maximum,
                 unsigned int remove)
{
    ThreadQueue* const queue = ThreadQueue::Current();
    return queue && queue->Take({window, minimum, maximum}, remove == kPeekRemove, *message);
}

int GetMessageW(MSG* message, void* window, unsigned int minimum, unsigned int maximum)
{
    ThreadQueue* const queue = ThreadQueue::Current();
    if (!queue)
        return -1;
    queue->WaitAndTake({window, minimum, maximum}, *message);
    return message->message != kWmQuit;
}

int TranslateMessage(const MSG*)
{
    return 0;
}

int PostThreadMessageW(unsigned int threadId, unsigned int message, unsigned long long wParam,
                       long long lParam)
{
    if (threadId == GetCurrentThreadId() && !ThreadQueue::Current())
        return 0;
    const std::shared_ptr<ThreadQueue> queue = ThreadQueue::Of(threadId);
    return queue && queue->Add({nullptr, message, wParam, lParam});
}

int KillTimer(void* window, unsigned long long id)
{
    ThreadQueue* const queue = ThreadQueue::Current();
    return queue && queue->KillTimer(window, id);
}
} // namespace win32
