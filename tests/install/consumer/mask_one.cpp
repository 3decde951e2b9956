// mask_one COUNTRY VALUE: loads the installed provider with the host kit and
// prints VALUE masked; exit status 1 when the provider rejects it, 3 when it
// cannot be loaded or initialised.
#include <cstdio>
#include <string>

#include "hostkit.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: mask_one COUNTRY VALUE\n");
        return 2;
    }
    hostkit::EntryPoints entryPoints;
    std::string error;
    if (!hostkit::LoadProvider(NIDMASK_PROVIDER_FILE, &entryPoints, &error)) {
        std::fprintf(stderr, "mask_one: %s\n", error.c_str());
        return 3;
    }
    hostkit::InstanceOptions options;
    std::wstring country, value;
    if (!hostkit::FromUtf8(argv[1], &country) || !hostkit::FromUtf8(argv[2], &value)) return 2;
    options.countrySwitch = country;
    auto instance = hostkit::MakeInstance(entryPoints, options);
    if (hostkit::InitInstance(*instance) != 0) {
        std::fprintf(stderr, "mask_one: Init failed\n");
        return 3;
    }
    hostkit::Batch batch;
    hostkit::FillBatch(*instance, {hostkit::CellValue{false, value}}, &batch);
    hostkit::ServiceBatch(*instance, batch, QRNP_METHOD_MASK);
    const hostkit::RowResult row = hostkit::ReadRow(*instance, batch, 0);
    hostkit::TerminateInstance(*instance);
    if (row.bRejected || !row.output) return 1;
    std::printf("%s\n", hostkit::ToUtf8(*row.output).c_str());
    return 0;
}
