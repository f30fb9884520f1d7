#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <wril/wril.h>

TEST(LogOnPosix, ALongLineIsWholeAndIsOneWriteIfThereIsRoom)
{
    for (const bool hasRoom : {true, false})
    {
        SCOPED_TRACE(hasRoom);
        int ends[2];
        if (hasRoom) // on this type of socket each write is one message
            ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
        else
            ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
        const int console = dup(STDERR_FILENO);
        dup2(ends[1], STDERR_FILENO);
        close(ends[1]);
        fcntl(ends[0], F_SETFL, 0); // the reader waits
        const std::string text(hasRoom ? 20000 : 200000, 'y');
        std::string received;
        int writes = 0;
        std::thread reader([&] {
            std::vector<char> piece(2 * text.size());
            for (ssize_t count; (count = read(ends[0], piece.data(), piece.size())) > 0;)
                received.append(piece.data(), static_cast<std::size_t>(count)), ++writes;
        });
        WRIL_Log(0, "memory", nullptr, text.c_str());
        dup2(console, STDERR_FILENO); // closes the written end
        reader.join();
        EXPECT_EQ(received, "[0] memory : " + text + "\n");
        EXPECT_EQ(writes == 1, hasRoom);
        close(ends[0]);
        close(console);
    }
}

TEST(LogOnPosix, ALineForABrokenPipeDoesNotEndTheProcess)
{
    const auto log = [] {
        int ends[2];
        if (pipe(ends) != 0 || dup2(ends[1], STDERR_FILENO) < 0 || close(ends[0]) != 0)
            _exit(1);
        WRIL_Log(0, "memory", nullptr, "lost");
        _exit(7);
    };
    EXPECT_EXIT(log(), testing::ExitedWithCode(7), "");
}
