/* Preloaded ahead of the resolver simulation by bench/lookups: every host lookup answers
 * after a fixed delay, as a name server one round trip away would. The delay is
 * ORV_LOOKUP_DELAY_US microseconds (default 1000); it is spent waiting, not computing, so
 * lookups made side by side overlap as they do against a real name server. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <netdb.h>
#include <stdlib.h>
#include <time.h>

static void wait_as_a_name_server(void) {
    const char* s = getenv("ORV_LOOKUP_DELAY_US");
    long us = s != NULL ? atol(s) : 1000;
    struct timespec left = {us / 1000000, (us % 1000000) * 1000};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

int getaddrinfo(const char* node, const char* service, const struct addrinfo* hints,
                struct addrinfo** res) {
    typedef int (*fn_t)(const char*, const char*, const struct addrinfo*, struct addrinfo**);
    fn_t next = (fn_t)dlsym(RTLD_NEXT, "getaddrinfo");
    /* A passive lookup without a name (a wildcard address for a port probe) asks no one. */
    if (node != NULL) {
        wait_as_a_name_server();
    }
    return next(node, service, hints, res);
}
