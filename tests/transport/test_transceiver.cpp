// The transceiver hub: client records, the socket table and its network
// jobs, send and receive, over real loopback sockets.
#include <gtest/gtest.h>

#include <toviktwo/application/hktovikapplication2.h>
#include <toviktwo/foundation/hkexception.h>
#include "../support/net_test_support.h"

using namespace tovik_test;

namespace {

struct Hub {
  HKGavetaScheduler2 scheduler;
  HKTransceiver transceiver{scheduler};
  HKServerCallback_t info;
};

// A connection of the hub on an accepted loopback socket, with its peer.
struct Filed {
  explicit Filed(Hub& hub) {
    unsigned int port = 0;
    listener.BindAndListen("127.0.0.1", port, 4, 0);
    peer = std::make_unique<RawClient>(port);
    socket = std::make_shared<HKSocketIPvx>(true);
    listener.Accept(*socket, 2000, [](HKHostInfo_t&) { return true; });
    connection = std::make_shared<HKTransceiverConnection>(hub.transceiver, "nobody", "", hub.info,
                                                           HKRemoveConnectionSocket);
    id = hub.transceiver._addTCPSocket(socket, connection);
  }
  HKSocketIPvx listener;
  std::unique_ptr<RawClient> peer;
  std::shared_ptr<HKSocketIPvx> socket;
  std::shared_ptr<HKTransceiverConnection> connection;
  std::string id;
};

}  // namespace

TEST(Transceiver, ConnectOfTheSameClientTwiceGivesAnEmptyPointerTheSecondTime) {
  Hub hub;
  auto client = std::make_shared<TestClient>(nullptr, nullptr);
  EXPECT_EQ(hub.transceiver.connect(client), client);
  EXPECT_EQ(hub.transceiver.connect(client), nullptr);
  EXPECT_EQ(hub.transceiver.connect(nullptr), nullptr);
  EXPECT_EQ(hub.transceiver.countClients(), 1u);
  hub.transceiver.disconnect(client);
  EXPECT_EQ(hub.transceiver.countClients(), 0u);
}

TEST(Transceiver, AddTCPSocketWithAnEmptySocketRaisesAndLeavesTheTables) {
  Hub hub;
  std::shared_ptr<HKSocketIPvx> none;
  auto connection = std::make_shared<HKTransceiverConnection>(hub.transceiver, "a", "", hub.info, nullptr);
  try {
    hub.transceiver._addTCPSocket(none, connection);
    FAIL() << "no exception";
  } catch (const HKException& e) {
    EXPECT_STREQ(e.what(), "socket and connection must be defined");
  }
  EXPECT_EQ(hub.transceiver.countSockets(), 0u);
  EXPECT_EQ(hub.transceiver.countConnections(), 0u);
}

TEST(Transceiver, NetworkJobsWaitWithoutSpinningAfterTheLastSocketAndWakeForANewOne) {
  Hub hub;
  {
    Filed first(hub);
    hub.transceiver._removeTCPSocket(first.id, true);
  }
  ASSERT_EQ(hub.transceiver.countSockets(), 0u);
  std::this_thread::sleep_for(50ms);
  const uint64_t rounds = hub.transceiver.receiveRounds();
  const uint64_t sendRounds = hub.transceiver.sendRounds();
  EXPECT_TRUE(staysFor([&] { return hub.transceiver.receiveRounds() == rounds; }, 300ms));
  EXPECT_EQ(hub.transceiver.sendRounds(), sendRounds);
  Filed second(hub);
  second.peer->send("wake");
  EXPECT_TRUE(waitUntil([&] { return second.connection->signaledIn(); }));
}

TEST(Transceiver, DescriptorClosedByAnotherThreadIsRemoved) {
  Hub hub;
  Filed filed(hub);
  ASSERT_EQ(hub.transceiver.countSockets(), 1u);
  close(filed.socket->getDescriptor() >= 0 ? filed.socket->getDescriptor() : filed.socket->getDescriptor4());
  EXPECT_TRUE(waitUntil([&] { return hub.transceiver.countSockets() == 0; }, 5000ms));
  EXPECT_EQ(hub.transceiver.countConnections(), 0u);
}

TEST(Transceiver, PeerThatClosesIsRemovedWithItsConnection) {
  Hub hub;
  Filed filed(hub);
  filed.peer.reset();
  EXPECT_TRUE(waitUntil([&] { return hub.transceiver.countSockets() == 0; }));
  EXPECT_EQ(hub.transceiver.resolveTransceiverConnection(filed.id), nullptr);
}

TEST(Transceiver, SendWithAnUnknownClientReturnsTheErrorIdentifier) {
  Hub hub;
  TestClient stranger(nullptr, nullptr);
  auto header = std::make_shared<HKXResponseHeader>(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  EXPECT_EQ(hub.transceiver.send(stranger, header, nullptr, "", true), HKJob::getError());
}

TEST(Transceiver, ResponseWhoseConnectionHasGoneEndsQuietlyWithTheIdentifier) {
  Hub hub;
  auto client = std::make_shared<TestClient>(nullptr, nullptr);
  hub.transceiver.connect(client);
  HKXHeader request(HK_SCHEME_GET, false, HK_PROTO_HTTP);
  request.addAnswerPath("_job*gone-connection");
  request.addAnswerPath("_job*gone-server");
  auto response = request.createResponseHeader();
  response->setStatusCode(200);
  response->setJobState(6);
  EXPECT_EQ(hub.transceiver.send(*client, response, nullptr, "", true), response->getID());
  hub.transceiver.disconnect(client);
}

TEST(Transceiver, ClientSideServerGoesFromTheServersMapWithItsConnection) {
  Hub hub;
  Filed filed(hub);
  auto server = std::make_shared<HKTransceiverServerL0>(hub.scheduler, "client", "server", "", nullptr);
  hub.transceiver.addTransceiverServer(filed.id, server);
  ASSERT_EQ(hub.transceiver.countServers(), 1u);
  filed.peer.reset();
  EXPECT_TRUE(waitUntil([&] { return hub.transceiver.countServers() == 0; }));
  EXPECT_EQ(hub.transceiver.countSockets(), 0u);
}

TEST(Transceiver, HousekeepingRetiresAConnectionWhoseTimeOutExpired) {
  Hub hub;
  Filed filed(hub);
  filed.connection->doShutdown();
  EXPECT_TRUE(waitUntil([&] { return hub.transceiver.countConnections() == 0; }, 5000ms));
  EXPECT_EQ(hub.transceiver.countSockets(), 0u);
}

TEST(Transceiver, ReceiveWithAnUnknownProtocolPrintsItsTextAndStartsNothing) {
  Hub hub;
  auto client = std::make_shared<TestClient>(nullptr, nullptr);
  hub.transceiver.connect(client);
  auto header = std::make_shared<HKXServerHeader>(false, HK_PROTO_FILE);
  testing::internal::CaptureStdout();
  EXPECT_EQ(client->receive(header), header->getID());
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "unknown protocol!! (3)\n");
  EXPECT_EQ(hub.transceiver.countServers(), 0u);
  hub.transceiver.disconnect(client);
}

TEST(TransceiverClient, MessagesOfAnUnknownServerAreTakenWithoutWork) {
  TestClient client(nullptr, nullptr);
  HKXHeader header(HK_SCHEME_GET, false, HK_PROTO_HTTP);
  header.setHeaderType(HK_HEADER_REQUEST);
  EXPECT_TRUE(client.onReceived("_job*unknown", header));
  EXPECT_EQ(client.requests.load(), 0);
}

TEST(TransceiverClient, SendWithoutATransceiverGivesTheEmptyString) {
  TestClient client(nullptr, nullptr);
  EXPECT_EQ(client.send(std::make_shared<HKXHeader>(HK_SCHEME_GET, false, HK_PROTO_HTTP), true), "");
}

TEST(TransceiverClient, ResponseHeadOfAnHTTPAnswerSetsReleaseServer) {
  TestClient client(nullptr, nullptr);
  HKXHeader header(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  EXPECT_TRUE(client._onReceived_Response_HTTP("x", header));
  EXPECT_TRUE(header.getReleaseServer());
}

TEST(TransceiverApplication, ApplicationOwnsItsTransceiverBoundToItsScheduler) {
  HKPersistentAppStorage storage;
  HKTovikApplication2 app(storage, {}, {});
  EXPECT_EQ(&app.getTransceiver().getScheduler(), &app.getScheduler());
}
