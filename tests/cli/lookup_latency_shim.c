/* Preloaded ahead of the resolver simulation: a name server some distance away.
 * - Every getaddrinfo of a name answers after ORV_LOOKUP_DELAY_US microseconds (default 0),
 *   spent waiting, not computing, so lookups made side by side overlap as they do against
 *   a real name server. A passive lookup without a name asks no one and is not delayed.
 * - With ORV_LOOKUP_NAMES=<prefix>, the names <prefix><digits> and <prefix><digits>.lab.local
 *   are answered here (canonical <prefix><digits>.lab.local, one IPv4 address made from
 *   the number), so that a fleet or a large cluster needs no entry in the simulation's
 *   hosts table, which holds about a hundred. Every other name goes on to the simulation.
 * - With ORV_LOOKUP_SWAP_ON=<name>, a lookup of that name first renames ORV_LOOKUP_SWAP_FROM
 *   to ORV_LOOKUP_SWAP_TO: another run's edit landing while this run looks names up.
 * The result is laid out as the C library's own (one block per entry, the canonical name
 * apart), so freeaddrinfo releases it. */
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <ctype.h>
#include <dlfcn.h>
#include <errno.h>
#include <netdb.h>
#include <netinet/in.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <time.h>

static void wait_as_a_name_server(void) {
    const char* s = getenv("ORV_LOOKUP_DELAY_US");
    long us = s != NULL ? atol(s) : 0;
    struct timespec left = {us / 1000000, (us % 1000000) * 1000};
    while (us > 0 && nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

/* The number of a name this shim answers, or -1. */
static long answered_number(const char* node) {
    const char* prefix = getenv("ORV_LOOKUP_NAMES");
    size_t plen = prefix != NULL ? strlen(prefix) : 0;
    if (plen == 0 || strncmp(node, prefix, plen) != 0) return -1;
    const char* p = node + plen;
    long n = 0;
    int digits = 0;
    for (; isdigit((unsigned char)*p) && digits < 9; ++p, ++digits) n = n * 10 + (*p - '0');
    if (digits == 0 || (*p != '\0' && strcmp(p, ".lab.local") != 0)) return -1;
    return n;
}

static int answer(const char* node, long n, const struct addrinfo* hints, struct addrinfo** res) {
    if (hints != NULL && hints->ai_family != AF_UNSPEC && hints->ai_family != AF_INET)
        return EAI_NONAME;
    struct addrinfo* ai = calloc(1, sizeof *ai + sizeof(struct sockaddr_in));
    if (ai == NULL) return EAI_MEMORY;
    struct sockaddr_in* sin = (struct sockaddr_in*)(ai + 1);
    sin->sin_family = AF_INET;
    sin->sin_addr.s_addr = htonl((10u << 24) | ((unsigned)(200 + n / 62500 % 50) << 16) |
                                 ((unsigned)(n / 250 % 250) << 8) | (unsigned)(n % 250 + 1));
    ai->ai_family = AF_INET;
    ai->ai_socktype = hints != NULL && hints->ai_socktype != 0 ? hints->ai_socktype : SOCK_STREAM;
    ai->ai_protocol = ai->ai_socktype == SOCK_DGRAM ? IPPROTO_UDP : IPPROTO_TCP;
    ai->ai_addrlen = sizeof *sin;
    ai->ai_addr = (struct sockaddr*)sin;
    if (hints != NULL && (hints->ai_flags & AI_CANONNAME) != 0) {
        size_t len = strcspn(node, ".");
        ai->ai_canonname = malloc(len + sizeof ".lab.local");
        if (ai->ai_canonname == NULL) return free(ai), EAI_MEMORY;
        memcpy(ai->ai_canonname, node, len);
        strcpy(ai->ai_canonname + len, ".lab.local");
    }
    *res = ai;
    return 0;
}

int getaddrinfo(const char* node, const char* service, const struct addrinfo* hints,
                struct addrinfo** res) {
    typedef int (*fn_t)(const char*, const char*, const struct addrinfo*, struct addrinfo**);
    fn_t next = (fn_t)dlsym(RTLD_NEXT, "getaddrinfo");
    if (node == NULL) return next(node, service, hints, res);
    wait_as_a_name_server();
    const char* swap_on = getenv("ORV_LOOKUP_SWAP_ON");
    if (swap_on != NULL && strcmp(node, swap_on) == 0) {
        const char* from = getenv("ORV_LOOKUP_SWAP_FROM");
        const char* to = getenv("ORV_LOOKUP_SWAP_TO");
        if (from != NULL && to != NULL) rename(from, to);
    }
    long n = service == NULL ? answered_number(node) : -1;
    return n >= 0 ? answer(node, n, hints, res) : next(node, service, hints, res);
}
