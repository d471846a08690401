#include "scratch_files.hpp"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace orvfuzz {

const std::string& scratchDir() {
    static const std::string dir = [] {
        std::string tmpl =
            std::string(std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "/tmp") + "/orvfuzz.XXXXXX";
        if (mkdtemp(tmpl.data()) == nullptr) std::abort();
        return tmpl;
    }();
    return dir;
}

std::string writeScratch(const std::string& name, const uint8_t* data, size_t size) {
    std::string path = scratchDir() + "/" + name;
    std::unique_ptr<FILE, int (*)(FILE*)> f(std::fopen(path.c_str(), "wb"), std::fclose);
    if (!f || (size > 0 && std::fwrite(data, 1, size, f.get()) != size)) std::abort();
    return path;
}

}  // namespace orvfuzz
