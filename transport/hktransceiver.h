// The network transport: sockets, URLs, message heads and blocks, and (as
// they arrive) connections, the transceiver hub, server layers and clients.
#pragma once

#include "transport/hkmessageblock.h"
#include "transport/hkprotocols.h"
#include "transport/hkservercallback.h"
#include "transport/hksocket.h"
#include "transport/hktransceiverserver.h"
#include "transport/hkurl.h"
#include "transport/hkxheader.h"
