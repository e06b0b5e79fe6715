// The network transport: sockets, URLs, message heads and blocks,
// connections, the transceiver hub, the server layers and the client that
// servers hand their messages to, and the outgoing side (the pool of
// connections per host and the web client). The chief header of the transport.
#pragma once

#include <toviktwo/transport/hkmessageblock.h>
#include <toviktwo/transport/hkprotocols.h>
#include <toviktwo/transport/hkservercallback.h>
#include <toviktwo/transport/hksocket.h>
#include <toviktwo/transport/hktransceiverclient.h>
#include <toviktwo/transport/hktransceiverconnection.h>
#include <toviktwo/transport/hktransceivercore.h>
#include <toviktwo/transport/hktransceiverserver.h>
#include <toviktwo/transport/hkurl.h>
#include <toviktwo/transport/hkurlhookservice.h>
#include <toviktwo/transport/hkwebclient.h>
#include <toviktwo/transport/hkxheader.h>
