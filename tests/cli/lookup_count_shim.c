/* Preloaded before the resolver simulation: writes one line per host lookup
 * ("<function> <name>") to the file named by ORV_LOOKUP_LOG, then hands the call on. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <netdb.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

static void record(const char* function, const char* name) {
    const char* log = getenv("ORV_LOOKUP_LOG");
    int fd = log != NULL ? open(log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644) : -1;
    if (fd >= 0) dprintf(fd, "%s %s\n", function, name != NULL ? name : "(null)"), close(fd);
}

int getaddrinfo(const char* node, const char* service, const struct addrinfo* hints,
                struct addrinfo** res) {
    record("getaddrinfo", node);
    return ((int (*)(const char*, const char*, const struct addrinfo*, struct addrinfo**))dlsym(
        RTLD_NEXT, "getaddrinfo"))(node, service, hints, res);
}

struct hostent* gethostbyname(const char* name) {
    record("gethostbyname", name);
    return ((struct hostent * (*)(const char*)) dlsym(RTLD_NEXT, "gethostbyname"))(name);
}

struct hostent* gethostbyname2(const char* name, int af) {
    record("gethostbyname2", name);
    return ((struct hostent * (*)(const char*, int)) dlsym(RTLD_NEXT, "gethostbyname2"))(name, af);
}
