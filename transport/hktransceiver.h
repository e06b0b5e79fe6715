// The network transport: sockets, URLs, message heads and blocks, and (as
// they arrive) connections, the transceiver hub, server layers and clients.
#pragma once

#include <toviktwo/transport/hkmessageblock.h>
#include <toviktwo/transport/hkprotocols.h>
#include <toviktwo/transport/hkservercallback.h>
#include <toviktwo/transport/hksocket.h>
#include <toviktwo/transport/hktransceiverserver.h>
#include <toviktwo/transport/hkurl.h>
#include <toviktwo/transport/hkxheader.h>
