/* A program written in C against the installed library: starts the server on
 * port 0 through the C entry, reads the port it got, fetches a file over HTTPS
 * with curl, and stops the server. Arguments: the folder to serve, the
 * certificate file, the key file. Prints "c consumer ok" when the fetched file
 * is the expected one. */
#include <toviktwo/application/hkserverentry_c.h>

#include <stdio.h>
#include <string.h>
#include <time.h>

enum { kPortWaitSteps = 200, kBodyMax = 256 };

static const char kExpected[] = "hello from C\n";

/* Sleeps 50 ms. */
static void pause50ms(void) {
  struct timespec t = {0, 50 * 1000 * 1000};
  nanosleep(&t, NULL);
}

/* Fetches https://127.0.0.1:port/hello.txt with curl into body; 0 on success. */
static int fetch(unsigned long port, char* body, size_t size) {
  char command[128];
  snprintf(command, sizeof command, "curl -sk --max-time 20 https://127.0.0.1:%lu/hello.txt", port);
  FILE* pipe = popen(command, "r");
  if (pipe == NULL) return -1;
  size_t n = fread(body, 1, size - 1, pipe);
  body[n] = '\0';
  return pclose(pipe);
}

int main(int argc, char** argv) {
  if (argc != 4) {
    fprintf(stderr, "usage: c_consumer folder cert key\n");
    return 2;
  }
  void* server = HKStartHTTPServerC("127.0.0.1", 0, argv[1], argv[1], argv[2], argv[3]);
  if (server == NULL) {
    fprintf(stderr, "the server did not start\n");
    return 1;
  }
  unsigned long port = 0;
  for (int i = 0; i < kPortWaitSteps && port == 0; ++i) {
    port = HKServerPortC(server);
    if (port == 0) pause50ms();
  }
  char body[kBodyMax];
  int status = port == 0 ? -1 : fetch(port, body, sizeof body);
  HKStopHTTPServerC(server);
  if (port == 0) {
    fprintf(stderr, "no port was reported\n");
    return 1;
  }
  if (status != 0 || strcmp(body, kExpected) != 0) {
    fprintf(stderr, "curl status %d, body \"%s\"\n", status, status == 0 ? body : "");
    return 1;
  }
  printf("c consumer ok %lu\n", port);
  return 0;
}
