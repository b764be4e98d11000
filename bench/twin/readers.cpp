// Clients that read a server's whole running configuration again and again, and that cost little
// themselves: readers SOCKET COUNT. They end when stdin does, and tell how long each reading took.

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{

constexpr const char *kHello =
    "<hello xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\"><capabilities><capability>"
    "urn:ietf:params:netconf:base:1.0</capability></capabilities></hello>]]>]]>";
constexpr const char *kGet =
    "<rpc message-id=\"1\" xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\"><get-config><source>"
    "<running/></source></get-config></rpc>]]>]]>";

class Client
{
public:
    explicit Client(const std::string &path) : m_fd(::socket(AF_UNIX, SOCK_STREAM, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        if (::connect(m_fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)) != 0) {
            throw std::runtime_error(path + ": " + std::strerror(errno));
        }
        send(kHello);
        receive();
    }
    ~Client() { ::close(m_fd); }
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    void read_all()
    {
        send(kGet);
        receive();
    }

private:
    void send(const std::string &text) const
    {
        if (::send(m_fd, text.data(), text.size(), MSG_NOSIGNAL) !=
            static_cast<ssize_t>(text.size())) {
            throw std::runtime_error("the server does not listen");
        }
    }
    void receive()
    {
        const std::string mark = "]]>]]>";
        std::string tail;
        while (tail != mark) {
            const ssize_t size = ::recv(m_fd, m_block.data(), m_block.size(), 0);
            if (size <= 0) {
                throw std::runtime_error("the server has gone");
            }
            tail.append(m_block.data(), static_cast<std::size_t>(size));
            tail.erase(0, tail.size() - std::min(tail.size(), mark.size()));
        }
    }

    int m_fd;
    std::vector<char> m_block = std::vector<char>(1 << 18);
};

std::vector<double> read_until(const std::string &path, const std::atomic<bool> &ends)
{
    using Clock = std::chrono::steady_clock;
    std::vector<double> times;
    Client client(path);
    while (!ends) {
        const auto begin = Clock::now();
        client.read_all();
        times.push_back(std::chrono::duration<double>(Clock::now() - begin).count());
    }
    return times;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        return EXIT_FAILURE;
    }
    std::atomic<bool> ends{false};
    std::mutex mutex;
    std::vector<double> all;
    std::vector<std::thread> threads;
    for (int i = 0; i < std::atoi(argv[2]); ++i) {
        threads.emplace_back([&] {
            const auto times = read_until(argv[1], ends);
            const std::lock_guard lock(mutex);
            all.insert(all.end(), times.begin(), times.end());
        });
    }
    while (std::cin.get() != std::istream::traits_type::eof()) {
    }
    ends = true;
    for (auto &thread : threads) {
        thread.join();
    }
    const char *separator = "[";
    for (const double seconds : all) {
        std::cout << separator << seconds;
        separator = ", ";
    }
    std::cout << "]\n";
    return EXIT_SUCCESS;
}
