// Connections: output order and flags, input hand-over, clear, shutdown,
// and the TLS add-on's retry rules, over real loopback sockets.
#include <gtest/gtest.h>

#include <fcntl.h>

#include <toviktwo/foundation/hkexception.h>
#include "../support/net_test_support.h"

using namespace tovik_test;

namespace {

// Two connected stream sockets of the transport: `server` accepted, `client` connected.
struct SocketPair {
  SocketPair() {
    unsigned int port = 0;
    listener.BindAndListen("127.0.0.1", port, 4, 0);
    client = std::make_shared<HKSocketIPvx>(true);
    client->Connect("127.0.0.1", static_cast<int>(port));
    server = std::make_shared<HKSocketIPvx>(true);
    listener.Accept(*server, 2000, [](HKHostInfo_t&) { return true; });
  }
  int serverFd() { return server->getDescriptor() >= 0 ? server->getDescriptor() : server->getDescriptor4(); }
  HKSocketIPvx listener;
  std::shared_ptr<HKSocketIPvx> client;
  std::shared_ptr<HKSocketIPvx> server;
};

struct Fixture {
  HKGavetaScheduler2 scheduler;
  HKTransceiver transceiver{scheduler};
  HKServerCallback_t info;
  std::shared_ptr<HKTransceiverConnection> plain() {
    return std::make_shared<HKTransceiverConnection>(transceiver, "assign", "", info, nullptr);
  }
};

std::string readAvailable(HKSocketIPvx& s, size_t want) {
  std::string out;
  while (out.size() < want) {
    char buf[65536];
    long got = 0;
    s.Receive(buf, sizeof buf, got);
    if (got <= 0) break;
    out.append(buf, static_cast<size_t>(got));
  }
  return out;
}

HKStringBuf* bufferOf(const std::string& s) {
  auto* b = new HKStringBuf();
  b->stringput(s);
  return b;
}

}  // namespace

TEST(Connection, SputnOfAnEmptyBufferLeavesListAndFlagUnchanged) {
  Fixture f;
  auto c = f.plain();
  auto* empty = new HKStringBuf();
  EXPECT_EQ(c->sputn(&empty), 0);
  EXPECT_FALSE(c->signaledOut());
  std::string copy = "x";
  c->_getBufferCopy(copy);
  EXPECT_EQ(copy, "");
  HKStringBuf* none = nullptr;
  EXPECT_EQ(c->sputn(&none), 0);
  EXPECT_EQ(c->sputn(nullptr), 0);
  delete empty;
}

TEST(Connection, SputnTakesTheBufferOverAndLeavesANewEmptyOne) {
  Fixture f;
  auto c = f.plain();
  HKStringBuf* b = bufferOf("abc");
  HKStringBuf* original = b;
  c->sputn(&b);
  EXPECT_NE(b, original);
  EXPECT_EQ(b->getSizeReadable(), 0u);
  EXPECT_TRUE(c->signaledOut());
  delete b;
}

TEST(Connection, TwoBuffersGoOutInOrderAndTheFlagStaysUntilTheSecondIsGone) {
  Fixture f;
  auto c = f.plain();
  HKStringBuf* b = bufferOf("first-");
  c->sputn(&b);
  unsigned long written = 0;
  c->sputn("second", 6, written);
  EXPECT_EQ(written, 6u);
  c->_discardBytesWritten(6);
  EXPECT_TRUE(c->signaledOut());
  std::string copy;
  c->_getBufferCopy(copy);
  EXPECT_EQ(copy, "second");
  c->_discardBytesWritten(6);
  EXPECT_FALSE(c->signaledOut());
  delete b;
}

TEST(Connection, DoSendWritesQueuedBuffersInOrder) {
  Fixture f;
  SocketPair p;
  auto c = f.plain();
  HKStringBuf* b = bufferOf("head|");
  c->sputn(&b);
  unsigned long written = 0;
  c->sputn("body", 4, written);
  while (c->signaledOut()) c->doSend(*p.server);
  EXPECT_EQ(readAvailable(*p.client, 9), "head|body");
  delete b;
}

TEST(Connection, DiscardBeyondTheFirstBufferDropsTheRest) {
  Fixture f;
  auto c = f.plain();
  unsigned long written = 0;
  c->sputn("ab", 2, written);
  c->sputn("cd", 2, written);
  c->_discardBytesWritten(3);
  std::string copy;
  c->_getBufferCopy(copy);
  EXPECT_EQ(copy, "cd");
  EXPECT_TRUE(c->signaledOut());
}

TEST(Connection, PeerThatClosesYieldsADoReceiveOfZero) {
  Fixture f;
  SocketPair p;
  auto c = f.plain();
  p.client.reset();
  EXPECT_EQ(c->doReceive(*p.server), 0);
}

TEST(Connection, ReceivedBytesAreHandedOverAndClearTheSignal) {
  Fixture f;
  SocketPair p;
  auto c = f.plain();
  unsigned long written = 0;
  p.client->Send("hello", 5, written);
  ASSERT_TRUE(waitUntil([&] { return c->doReceive(*p.server) == 5; }));
  EXPECT_TRUE(c->signaledIn());
  HKStringBuf dest;
  EXPECT_EQ(c->getBytesIn(dest), 5u);
  EXPECT_EQ(std::string(dest.getStartReadout(), dest.getSizeReadable()), "hello");
  EXPECT_FALSE(c->signaledIn());
}

TEST(Connection, AfterClearBothSignalsAreFalse) {
  Fixture f;
  auto c = f.plain();
  c->_receive("in", 2);
  unsigned long written = 0;
  c->sputn("out", 3, written);
  ASSERT_TRUE(c->signaledIn());
  ASSERT_TRUE(c->signaledOut());
  c->clear();
  EXPECT_FALSE(c->signaledIn());
  EXPECT_FALSE(c->signaledOut());
  HKStringBuf dest;
  EXPECT_EQ(c->getBytesIn(dest), 0u);
}

TEST(Connection, DoShutdownMarksTheTimeOutExpiredFromThenOn) {
  Fixture f;
  int cleanUps = 0;
  auto c = std::make_shared<HKTransceiverConnection>(
      f.transceiver, "a", "", f.info, [&](HKTransceiver&, HKTransceiverConnection*) { ++cleanUps; });
  EXPECT_FALSE(c->Timeout());
  c->doShutdown();
  EXPECT_EQ(cleanUps, 1);
  EXPECT_TRUE(c->Timeout());
  EXPECT_TRUE(c->Timeout());
}

TEST(Connection, InfoAndTaskAreKept) {
  Fixture f;
  f.info.map["remoteaddress"] = "1.2.3.4";
  auto c = f.plain();
  EXPECT_EQ(c->info().map["remoteaddress"], "1.2.3.4");
  EXPECT_EQ(c->assign(), "assign");
  const std::string task = c->createCombinedTask("t");
  c->joinTask(task);
  EXPECT_EQ(c->getCtask(), task);
  c->exitTask(task);
  EXPECT_EQ(c->getCtask(), "");
}

// ---- TLS

namespace {

// A TLS connection pair over loopback: the server side's handshake runs in
// a thread while the client side's runs here.
struct TLSPair {
  explicit TLSPair(Fixture& f) {
    EXPECT_TRUE(makeKeyPair(dir));
    HKXServerHeader header(false, HK_PROTO_HTTPS);
    header.setOption("cacertificate", dir.file("cert.pem"));
    header.setOption("privatekey", dir.file("key.pem"));
    serverSide = std::make_unique<HKTransceiverServerL1_SSLAddon>(header);
    clientSide = std::make_unique<HKTransceiverServerL1_SSLAddon>();
    std::thread accepting([&] {
      server = std::dynamic_pointer_cast<HKTransceiverConnection_SSLAddon>(
          serverSide->_createConnection(f.transceiver, "s", "", f.info, sockets.server));
    });
    client = std::dynamic_pointer_cast<HKTransceiverConnection_SSLAddon>(
        clientSide->_createConnection(f.transceiver, "c", "", f.info, sockets.client));
    accepting.join();
  }
  TempDir dir;
  SocketPair sockets;
  std::unique_ptr<HKTransceiverServerL1_SSLAddon> serverSide, clientSide;
  std::shared_ptr<HKTransceiverConnection_SSLAddon> server, client;
};

// Reads on the TLS client until `n` bytes came or nothing more comes.
std::string tlsRead(HKTransceiverConnection_SSLAddon& c, HKSocketIPvx& s, size_t n) {
  std::string out;
  for (int i = 0; i < 2000 && out.size() < n; ++i) {
    c.doReceive(s);
    HKStringBuf in;
    c.getBytesIn(in);
    out.append(in.getStartReadout(), in.getSizeReadable());
    if (in.getSizeReadable() == 0) std::this_thread::sleep_for(1ms);
  }
  return out;
}

}  // namespace

TEST(ConnectionTLS, BytesTravelBothWays) {
  Fixture f;
  TLSPair t(f);
  ASSERT_TRUE(t.server && t.client);
  unsigned long written = 0;
  t.server->sputn("over tls", 8, written);
  t.server->doSend(*t.sockets.server);
  EXPECT_EQ(tlsRead(*t.client, *t.sockets.client, 8), "over tls");
}

TEST(ConnectionTLS, PartialWriteOnAFullSocketIsRepeatedWithTheSameBytes) {
  Fixture f;
  TLSPair t(f);
  ASSERT_TRUE(t.server && t.client);
  std::string payload;
  for (int i = 0; i < 400000; ++i) payload += static_cast<char>('a' + i % 26);
  const int small = 16384;
  setsockopt(t.sockets.serverFd(), SOL_SOCKET, SO_SNDBUF, &small, sizeof small);
  setsockopt(t.sockets.client->getDescriptor(), SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
  unsigned long written = 0;
  t.server->sputn(payload.data(), payload.size(), written);
  // The peer reads nothing: the socket fills and TLS asks for a retry.
  for (int i = 0; i < 50 && !t.server->writeWantsWrite(); ++i) t.server->doSend(*t.sockets.server);
  ASSERT_TRUE(t.server->writeWantsWrite());
  const std::string pending = t.server->pending();
  ASSERT_FALSE(pending.empty());
  std::string got;
  // Drain on the client while the server retries; the retry offers the same bytes.
  bool sameOnRetry = false;
  for (int i = 0; i < 5000 && got.size() < payload.size(); ++i) {
    got += tlsRead(*t.client, *t.sockets.client, 1);
    if (t.server->writeWantsWrite() && !sameOnRetry) sameOnRetry = t.server->pending() == pending;
    if (t.server->signaledOut()) t.server->doSend(*t.sockets.server);
  }
  EXPECT_TRUE(sameOnRetry);
  EXPECT_EQ(got.size(), payload.size());
  EXPECT_TRUE(got == payload);
}

TEST(ConnectionTLS, WriteWantsReadMakesDoReceiveAnswerZero) {
  Fixture f;
  TLSPair t(f);
  ASSERT_TRUE(t.server);
  t.server->setWriteWantsRead(true);
  EXPECT_EQ(t.server->doReceive(*t.sockets.server), 0);
}

TEST(ConnectionTLS, ClientHandshakeFailureRaisesInsteadOfEndingTheProcess) {
  Fixture f;
  SocketPair p;
  HKTransceiverServerL1_SSLAddon clientSide;
  unsigned long written = 0;
  // The "server" answers the hello with plain text: no TLS.
  p.server->Send("HTTP/1.1 400 Bad Request\r\n\r\n", 28, written);
  try {
    clientSide._createConnection(f.transceiver, "c", "", f.info, p.client);
    FAIL() << "no exception";
  } catch (const HKException& e) {
    EXPECT_STREQ(e.what(), "Error getting SSL_connect");
  }
}
