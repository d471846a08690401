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
    if (log == NULL) {
        return;
    }
    int fd = open(log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0) {
        return;
    }
    dprintf(fd, "%s %s\n", function, name != NULL ? name : "(null)");
    close(fd);
}

int getaddrinfo(const char* node, const char* service, const struct addrinfo* hints,
                struct addrinfo** res) {
    typedef int (*fn_t)(const char*, const char*, const struct addrinfo*, struct addrinfo**);
    fn_t next = (fn_t)dlsym(RTLD_NEXT, "getaddrinfo");
    record("getaddrinfo", node);
    return next(node, service, hints, res);
}

struct hostent* gethostbyname(const char* name) {
    typedef struct hostent* (*fn_t)(const char*);
    fn_t next = (fn_t)dlsym(RTLD_NEXT, "gethostbyname");
    record("gethostbyname", name);
    return next(name);
}

struct hostent* gethostbyname2(const char* name, int af) {
    typedef struct hostent* (*fn_t)(const char*, int);
    fn_t next = (fn_t)dlsym(RTLD_NEXT, "gethostbyname2");
    record("gethostbyname2", name);
    return next(name, af);
}
