// The message of the job bus and its kinds.
#pragma once

#include <list>
#include <map>
#include <string>

// Kinds of bus messages, as their senders and receivers use them. Receivers
// ignore kinds they don't handle and report the message as taken.
enum HKMsgStdType_t : int {
  HKMSG_SERVER_DEAD = 1,    // a server was found dead
  HKMSG_SOCKET_GONE = 2,    // a connection's socket is gone
  HKMSG_ROLL_CALL = 3,      // servers append their name to _list
  HKMSG_SERVER_UNUSED = 5,  // a server isn't in use any more
  HKMSG_JOB_LEFT = 6,       // a job (or a task's owner) has left a task
  HKMSG_CLIENT_SIGNAL = 8,  // a signal for a client
};

// Copied by value, all fields included; the copy is what travels.
class HKJobMessage {
 public:
  HKJobMessage(std::string sender, HKMsgStdType_t type, const std::string& data);

  std::string _sender;
  std::string _data;
  HKMsgStdType_t _type;
  std::list<std::string> _list;  // answers collected on the way
  std::map<std::string, std::string> _map;
};
