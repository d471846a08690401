// The cluster file's host section: the readers, and the host-line formatting on every
// header/line pair they find.
#include <cstdint>
#include <string>
#include <vector>

#include "cluster/cluster_file.hpp"
#include "scratch_files.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string path = orvfuzz::writeScratch("orv.cluster.fuzz", data, size);
    std::vector<std::string> hosts, lines;
    std::string header;
    if (orv::getHostLineFromCluster(path, hosts, lines, header) != 1) return 0;
    if (hosts.size() != lines.size()) __builtin_trap();
    for (size_t i = 0; i < lines.size(); ++i) {
        std::string out;
        (void)orv::changeHostEntry(header, lines[i], hosts[i], out);
    }
    std::string entry;
    (void)orv::generateHostEntry(header, "hostA", "!", "(linux mg)", entry);
    return 0;
}
