// Starting the whole server with one call, for a program that knows nothing
// of the class model: one HTTPS interface, no console loop, no browser. The
// handle is an object whose first part is the application storage, with the
// application and its parameters beside it; only these functions use it.
//
// The functions throw HKException where stated. Programs written in C use
// the wrappers of <toviktwo/application/hkserverentry_c.h>, which catch
// every exception.
#pragma once

// Starts a plain HKTovikApplication2 with one https interface on `address`
// and `port` (a negative port counts as positive, 0 takes a free one), serving
// files below `startpath`. The handle. Throws "options are missing" when
// address, startpath or cgibinpath is null, "keys are missing" when
// cacertificate or privatekey is null.
void* StartHTTPServer(char const* address, int port, char const* startpath, char const* cgibinpath,
                      char const* cacertificate, char const* privatekey);
// Stops and deletes the application, then the rest of the handle. 0; a null
// handle does nothing.
int StopHTTPserver(void* handle);
// The listening port from "tcp_port_https" (else "tcp_port_http") of the
// application's parameters; 0 for a null handle and until the server has
// reported that it listens.
unsigned long ServerPort(void* handle);
