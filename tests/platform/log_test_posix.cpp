#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <wril/wril.h>

TEST(LogOnPosix, ALongLineGoesToStderrInOneWrite)
{
    // On this type of socket each write is one message.
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
    const int console = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    const std::string text(20000, 'y');
    WRIL_Log(0, "memory", nullptr, text.c_str());
    dup2(console, STDERR_FILENO);

    std::vector<char> message(30000);
    const ssize_t length = recv(ends[0], message.data(), message.size(), MSG_DONTWAIT);
    ASSERT_GT(length, 0);
    EXPECT_EQ(std::string(message.data(), static_cast<std::size_t>(length)),
              "[0] memory : " + text + "\n");
    for (const int descriptor : {ends[0], ends[1], console})
        close(descriptor);
}

TEST(LogOnPosix, ALineLongerThanAPipeThatDoesNotBlockIsWhole)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    fcntl(ends[1], F_SETFL, O_NONBLOCK);
    const int console = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    close(ends[1]);
    std::string read;
    std::thread reader([&] {
        char piece[100];
        for (ssize_t count; (count = ::read(ends[0], piece, sizeof(piece))) > 0;)
            read.append(piece, static_cast<std::size_t>(count));
    });
    const std::string text(200000, 'y');
    WRIL_Log(0, "memory", nullptr, text.c_str());
    dup2(console, STDERR_FILENO); // closes the pipe
    reader.join();
    EXPECT_EQ(read, "[0] memory : " + text + "\n");
    close(ends[0]);
    close(console);
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
