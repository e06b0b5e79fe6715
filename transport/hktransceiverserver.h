// The server objects of the transport, as far as message heads need them.
//
// A server header keeps the server it started and stops it; the server
// ladder (listening, buffer job, protocol layers) builds on this interface
// and is not here yet.
#pragma once

class HKTransceiverServer {
 public:
  virtual ~HKTransceiverServer() = default;
  virtual void stop() = 0;
};

// A server with its own listening socket.
class HKTransceiverServerL0 : public HKTransceiverServer {};
