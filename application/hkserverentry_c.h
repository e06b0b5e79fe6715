/* The procedural server entry for programs written in C: thin wrappers of
 * StartHTTPServer, StopHTTPserver and ServerPort that catch every exception.
 * A failure gives a null handle or 0, and its message goes to the log
 * (destination 0 of the library's log stream). Plain C: no C++ types. */
#ifndef TOVIKTWO_APPLICATION_HKSERVERENTRY_C_H
#define TOVIKTWO_APPLICATION_HKSERVERENTRY_C_H

#ifdef __cplusplus
extern "C" {
#endif

/* Starts the HTTPS server; the handle, or NULL when it could not start. */
void* HKStartHTTPServerC(const char* address, int port, const char* startpath, const char* cgibinpath,
                         const char* cacertificate, const char* privatekey);
/* Stops the server and frees the handle; 0. NULL does nothing. */
int HKStopHTTPServerC(void* handle);
/* The listening port; 0 for NULL, before the server listens, or on failure. */
unsigned long HKServerPortC(void* handle);

#ifdef __cplusplus
}
#endif

#endif
