// Sockets on loopback with port 0: dual-stack listener, IPv4-only fallback,
// host filter, blocking send and receive with their exact codes and texts.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <sstream>
#include <thread>

#include <toviktwo/foundation/hklogstream.h>
#include <toviktwo/transport/hksocket.h>

namespace {

bool acceptAll(HKHostInfo_t&) { return true; }

// Accepts on `listener` until a connection arrives or about 10 s pass.
int acceptWithin(HKSocketIPvx& listener, HKSocketIPvx& out,
                 std::function<bool(HKHostInfo_t&)> filter = acceptAll) {
  for (int i = 0; i < 50; ++i) {
    const int fd = listener.Accept(out, 100, filter);
    if (fd >= 0) return fd;
  }
  return -1;
}

bool ipv6Available() {
  const int fd = socket(AF_INET6, SOCK_STREAM, 0);
  if (fd < 0) return false;
  sockaddr_in6 a{};
  a.sin6_family = AF_INET6;
  a.sin6_addr = in6addr_loopback;
  const bool ok = bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0;
  close(fd);
  return ok;
}

}  // namespace

TEST(HKSocketIPvxTest, PortZeroReturnsChosenPort) {
  HKSocketIPvx l;
  unsigned int port = 0;
  ASSERT_EQ(l.BindAndListen("", port, 16, 0), 0);
  EXPECT_GT(port, 0u);
  EXPECT_EQ(l.getPort(), static_cast<int>(port));
  EXPECT_TRUE(l.isListening());
}

TEST(HKSocketIPvxTest, PortZeroIsLoggedAtLevelOne) {
  std::ostringstream log1;
  __logger.redirect(log_socket, log1);
  HKSocketIPvx l;
  unsigned int port = 0;
  ASSERT_EQ(l.BindAndListen("", port, 16, 0), 0);
  std::ostream* none = &__logger.Debugstream(log_default);
  __logger.redirect(log_socket, *none);
  EXPECT_NE(log1.str().find("bound at port number " + std::to_string(port) + "\n"), std::string::npos);
}

TEST(HKSocketIPvxTest, HostArgumentHasNoEffect) {
  // Bound to the wildcard whatever the host says: reachable on 127.0.0.1
  // although "192.0.2.1" was asked for.
  HKSocketIPvx l;
  unsigned int port = 0;
  ASSERT_EQ(l.BindAndListen("192.0.2.1", port, 16, 0), 0);
  HKSocketIPvx c;
  ASSERT_EQ(c.Connect("127.0.0.1", static_cast<int>(port)), 0);
  HKSocketIPvx s;
  EXPECT_GE(acceptWithin(l, s), 0);
  const std::string peer = s.Hoststring();
  EXPECT_TRUE(peer == "127.0.0.1" || peer == "::ffff:127.0.0.1") << peer;
}

TEST(HKSocketIPvxTest, DualStackOpensOnlyTheFirstDescriptorAndAcceptsBothFamilies) {
  if (!ipv6Available()) GTEST_SKIP() << "no IPv6 on this host";
  HKSocketIPvx l;
  unsigned int port = 0;
  ASSERT_EQ(l.BindAndListen("", port, 16, 0), 0);
  EXPECT_GE(l.getDescriptor(), 0);
  EXPECT_EQ(l.getDescriptor4(), -1);
  for (const char* host : {"::1", "127.0.0.1"}) {
    HKSocketIPvx c;
    ASSERT_EQ(c.Connect(host, static_cast<int>(port)), 0) << host;
    HKSocketIPvx s;
    std::string seen;
    EXPECT_GE(acceptWithin(l, s,
                           [&](HKHostInfo_t& h) {
                             seen = h.host;
                             return true;
                           }),
              0);
    EXPECT_TRUE(s.isAccepted());
    EXPECT_FALSE(seen.empty());
    EXPECT_EQ(s.Hoststring(), seen);
    EXPECT_FALSE(s.Portstring().empty());
  }
}

TEST(HKSocketIPvxTest, OnlyIPv4DescriptorWhenIPv6CannotBind) {
  if (!ipv6Available()) GTEST_SKIP() << "no IPv6 on this host";
  // An IPv6-only socket holds the port for IPv6: our IPv6 bind fails and
  // the IPv4 descriptor takes over, as on a host without IPv6.
  const int blocker = socket(AF_INET6, SOCK_STREAM, 0);
  ASSERT_GE(blocker, 0);
  int on = 1;
  ASSERT_EQ(setsockopt(blocker, IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on), 0);
  sockaddr_in6 a{};
  a.sin6_family = AF_INET6;
  a.sin6_addr = in6addr_any;
  ASSERT_EQ(bind(blocker, reinterpret_cast<sockaddr*>(&a), sizeof a), 0);
  socklen_t len = sizeof a;
  ASSERT_EQ(getsockname(blocker, reinterpret_cast<sockaddr*>(&a), &len), 0);
  unsigned int port = ntohs(a.sin6_port);

  HKSocketIPvx l;
  ASSERT_EQ(l.BindAndListen("", port, 16, 0), 0);
  EXPECT_EQ(l.getDescriptor(), -1);
  EXPECT_GE(l.getDescriptor4(), 0);
  HKSocketIPvx c;
  ASSERT_EQ(c.Connect("127.0.0.1", static_cast<int>(port)), 0);
  HKSocketIPvx s;
  EXPECT_GE(acceptWithin(l, s), 0);
  EXPECT_EQ(s.Hoststring(), "127.0.0.1");
  close(blocker);
}

TEST(HKSocketIPvxTest, BindFailureReturnsOneAndSaysSo) {
  HKSocketIPvx first;
  unsigned int port = 0;
  ASSERT_EQ(first.BindAndListen("", port, 16, 0), 0);
  HKSocketIPvx second;
  unsigned int same = port;
  testing::internal::CaptureStderr();
  EXPECT_EQ(second.BindAndListen("", same, 16, 0), 1);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("Could not bind"), std::string::npos);
  EXPECT_FALSE(second.isListening());
}

TEST(HKSocketIPvxTest, FilterSayingNoLeavesDescriptorClosed) {
  HKSocketIPvx l;
  unsigned int port = 0;
  ASSERT_EQ(l.BindAndListen("", port, 16, 0), 0);
  HKSocketIPvx c;
  ASSERT_EQ(c.Connect("localhost", static_cast<int>(port)), 0);
  HKSocketIPvx s;
  std::atomic<int> asked{0};
  int r = -1;
  for (int i = 0; i < 50 && asked == 0; ++i)
    r = l.Accept(s, 100, [&](HKHostInfo_t&) {
      ++asked;
      return false;
    });
  EXPECT_EQ(asked.load(), 1);
  EXPECT_EQ(r, -1);
  EXPECT_EQ(s.getDescriptor(), -1);
  // The refused peer sees its connection end.
  char b;
  long got = -5;
  c.Receive(&b, 1, got);
  EXPECT_EQ(got, 0);
}

TEST(HKSocketIPvxTest, EmptyFilterRaisesBadFunctionCall) {
  HKSocketIPvx l;
  unsigned int port = 0;
  ASSERT_EQ(l.BindAndListen("", port, 16, 0), 0);
  HKSocketIPvx c;
  ASSERT_EQ(c.Connect("127.0.0.1", static_cast<int>(port)), 0);
  HKSocketIPvx s;
  bool thrown = false;
  for (int i = 0; i < 50 && !thrown; ++i) {
    try {
      l.Accept(s, 100, std::function<bool(HKHostInfo_t&)>());
    } catch (const std::bad_function_call&) {
      thrown = true;
    }
  }
  EXPECT_TRUE(thrown);
}

TEST(HKSocketIPvxTest, AcceptTimesOutWithMinusOne) {
  HKSocketIPvx l;
  unsigned int port = 0;
  ASSERT_EQ(l.BindAndListen("", port, 16, 0), 0);
  HKSocketIPvx s;
  EXPECT_EQ(l.Accept(s, 10, acceptAll), -1);
  EXPECT_FALSE(s.isAccepted());
}

TEST(HKSocketIPvxTest, SendReceiveAndEndOfStream) {
  HKSocketIPvx l;
  unsigned int port = 0;
  ASSERT_EQ(l.BindAndListen("", port, 16, 0), 0);
  auto c = std::make_unique<HKSocketIPvx>();
  EXPECT_TRUE(c->isEndOfStream());
  ASSERT_EQ(c->Connect("127.0.0.1", static_cast<int>(port)), 0);
  EXPECT_FALSE(c->isEndOfStream());
  HKSocketIPvx s;
  ASSERT_GE(acceptWithin(l, s), 0);

  unsigned long written = 0;
  EXPECT_EQ(c->Send("hello", 5, written), 0);
  EXPECT_EQ(written, 5u);
  char buf[16] = {0};
  long got = 0;
  EXPECT_EQ(s.Receive(buf, sizeof buf, got), 0);
  EXPECT_EQ(got, 5);
  EXPECT_EQ(std::string(buf, 5), "hello");

  // Nothing waiting: 0 bytes, end of stream left alone.
  const bool eosBefore = s.isEndOfStream();
  EXPECT_EQ(s.ReceiveNB(buf, sizeof buf, got), 0);
  EXPECT_EQ(got, 0);
  EXPECT_EQ(s.isEndOfStream(), eosBefore);

  // The peer closes: 0 bytes and end of stream.
  c.reset();
  got = -1;
  EXPECT_EQ(s.Receive(buf, sizeof buf, got), 0);
  EXPECT_EQ(got, 0);
  EXPECT_TRUE(s.isEndOfStream());
}

TEST(HKSocketIPvxTest, ReceiveNBReadsWhatIsWaiting) {
  HKSocketIPvx l;
  unsigned int port = 0;
  ASSERT_EQ(l.BindAndListen("", port, 16, 0), 0);
  HKSocketIPvx c;
  ASSERT_EQ(c.Connect("127.0.0.1", static_cast<int>(port)), 0);
  HKSocketIPvx s;
  ASSERT_GE(acceptWithin(l, s), 0);
  unsigned long w = 0;
  ASSERT_EQ(c.Send("abc", 3, w), 0);
  long got = 0;
  char buf[8];
  for (int i = 0; i < 500 && got == 0; ++i) s.ReceiveNB(buf, sizeof buf, got);
  EXPECT_EQ(got, 3);
}

TEST(HKSocketIPvxTest, SendOnClosedObjectSaysNoSocketAndSucceeds) {
  HKSocketIPvx s;
  unsigned long written = 99;
  testing::internal::CaptureStderr();
  EXPECT_EQ(s.Send("x", 1, written), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "no socket\n");
  EXPECT_EQ(written, 0u);
}

TEST(HKSocketIPvxTest, ReceiveErrorIsReported) {
  HKSocketIPvx s;  // no descriptor: read fails with EBADF
  char b[4];
  long got = 7;
  testing::internal::CaptureStderr();
  EXPECT_EQ(s.Receive(b, 4, got), 0);
  const std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(got, 0);
  EXPECT_EQ(s.lastError(), EBADF);
  EXPECT_EQ(err.rfind("HKSocketIPvx::Receive(): error in read (errno=" + std::to_string(EBADF) + ") ", 0), 0u)
      << err;
}

TEST(HKSocketIPvxTest, ConnectFailureReturnsTwo) {
  int p = 0;
  {
    HKSocketIPvx l;  // a port that nobody listens on once this closes
    unsigned int port = 0;
    ASSERT_EQ(l.BindAndListen("", port, 16, 0), 0);
    p = static_cast<int>(port);
  }
  HKSocketIPvx c;
  testing::internal::CaptureStderr();
  EXPECT_EQ(c.Connect("127.0.0.1", p), 2);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("Could not connect, fd: "), std::string::npos);
  EXPECT_TRUE(c.isEndOfStream());
  testing::internal::CaptureStderr();
  EXPECT_EQ(c.Connect("no-such-host.invalid", 80), 2);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("getaddrinfo: "), std::string::npos);
}

TEST(HKSocketIPvxTest, SendToVanishedPeerDoesNotKillTheProcess) {
  HKSocketIPvx l;
  unsigned int port = 0;
  ASSERT_EQ(l.BindAndListen("", port, 16, 0), 0);
  HKSocketIPvx c;
  ASSERT_EQ(c.Connect("127.0.0.1", static_cast<int>(port)), 0);
  {
    HKSocketIPvx s;
    ASSERT_GE(acceptWithin(l, s), 0);
  }  // the server side closes
  const std::string block(65536, 'x');
  int rc = 0;
  unsigned long w = 0;
  for (int i = 0; i < 100 && rc == 0; ++i) {
    rc = c.Send(block.data(), block.size(), w);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  EXPECT_EQ(rc, 3);
}

// ---------------------------------------------------------------- the older pair

namespace {
// A TCP flavour of the older socket, as an application would derive it.
class TcpSocket : public HKSocket {
 public:
  TcpSocket() : HKSocket(0) {}
  int CreateSocket() override { return _fd = socket(AF_INET, SOCK_STREAM, 0); }
  int Send(const void* d, int n, int* w) override {
    const ssize_t r = send(_fd, d, static_cast<size_t>(n), MSG_NOSIGNAL);
    if (w) *w = static_cast<int>(r);
    return r == n ? 0 : 3;
  }
  int Receive(void* d, int n, int& got) override {
    got = static_cast<int>(recv(_fd, d, static_cast<size_t>(n), 0));
    return 0;
  }
};
}  // namespace

TEST(HKSocketTest, CreatedMessageAndVirtualDefaults) {
  testing::internal::CaptureStdout();
  TcpSocket s;
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Socket created\n");
  EXPECT_EQ(s.Hoststring(), "");
  EXPECT_EQ(s.Portstring(), "");
  EXPECT_EQ(s.Accept(nullptr), -1);
}

TEST(HKSocketTest, TcpBindAcceptConnect) {
  testing::internal::CaptureStdout();
  TcpSocket listener, client, server;
  testing::internal::GetCapturedStdout();
  ASSERT_GE(listener.CreateSocket(), 0);
  unsigned int port = 0;
  ASSERT_EQ(listener.BindAndListen(nullptr, port, 4, 0), 0);
  EXPECT_GT(port, 0u);
  EXPECT_TRUE(listener.isListening());
  ASSERT_GE(client.CreateSocket(), 0);
  EXPECT_EQ(client.Connect(std::string("127.0.0.1"), static_cast<int>(port)), 0);
  std::ostringstream log1;
  __logger.redirect(log_socket, log1);
  const int fd = server.Accept(&listener);
  __logger.redirect(log_socket, __logger.Debugstream(log_default));
  ASSERT_GE(fd, 0);
  EXPECT_EQ(log1.str().rfind("connected with 127.0.0.1 on port ", 0), 0u) << log1.str();
  int w = 0;
  EXPECT_EQ(client.Send("ping", 4, &w), 0);
  EXPECT_TRUE(client.socketwritable());
  // The accepted descriptor is non-blocking; wait until the bytes are there.
  int waiting = 0;
  for (int i = 0; i < 100 && waiting <= 0; ++i) waiting = server.CharsWaiting();
  EXPECT_GT(waiting, 0);
  testing::internal::CaptureStdout();
  EXPECT_GT(server.Poll(100), 0);
  EXPECT_NE(testing::internal::GetCapturedStdout().find(" poll() POLLIN"), std::string::npos);
  EXPECT_TRUE(server.isReadable());
  char b[8];
  int got = 0;
  server.Receive(b, sizeof b, got);
  EXPECT_EQ(std::string(b, 4), "ping");
}

TEST(HKSocketTest, ConnectToUnknownHostReturnsTwo) {
  testing::internal::CaptureStdout();
  TcpSocket c;
  testing::internal::GetCapturedStdout();
  ASSERT_GE(c.CreateSocket(), 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(c.Connect("no-such-host.invalid", 80), 2);
  testing::internal::GetCapturedStderr();
}

TEST(HKUDPSocketTest, ModeNotZeroMakesNoDescriptor) {
  testing::internal::CaptureStdout();
  HKUDPSocket u(1);
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(u.CreateSocket(), -1);
  EXPECT_EQ(u.getDescriptor(), -1);
}

TEST(HKUDPSocketTest, DatagramRoundTrip) {
  testing::internal::CaptureStdout();
  HKUDPSocket rx, tx;
  testing::internal::GetCapturedStdout();
  ASSERT_GE(rx.CreateSocket(), 0);
  ASSERT_GE(tx.CreateSocket(), 0);
  unsigned int port = 0;
  // A datagram socket binds but cannot listen: the errno of listen comes back.
  EXPECT_EQ(rx.BindAndListen("127.0.0.1", port, 1, 0), EOPNOTSUPP);
  EXPECT_FALSE(rx.isListening());
  ASSERT_GT(port, 0u);
  ASSERT_EQ(tx.Connect("127.0.0.1", static_cast<int>(port)), 0);
  int w = 0;
  EXPECT_EQ(tx.Send("dgram", 5, &w), 0);
  EXPECT_EQ(w, 5);
  char b[16];
  int got = 0;
  for (int i = 0; i < 200 && got == 0; ++i) {
    rx.Receive(b, sizeof b, got);
    if (got == 0) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  EXPECT_EQ(got, 5);
  EXPECT_EQ(std::string(b, 5), "dgram");
  // Nothing more: non-blocking receive yields 0 bytes and stores the errno.
  rx.Receive(b, sizeof b, got);
  EXPECT_EQ(got, 0);
  EXPECT_EQ(rx.lastError(), EAGAIN);
}
