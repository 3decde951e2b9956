// The entry points of a provider linked into the same program (tests,
// fuzzers, benchmarks link the provider's objects directly).
#ifndef QRNP_HOSTKIT_LINKED_H
#define QRNP_HOSTKIT_LINKED_H

#include "hostkit.h"

namespace hostkit {

inline EntryPoints LinkedEntryPoints() {
    EntryPoints ep;
    ep.Init = &::Init;
    ep.Service = &::Service;
    ep.Terminate = &::Terminate;
    ep.GetDetails = &::GetDetails;
    ep.GetInfo = &::GetInfo;
    ep.GetErrorMsg = &::GetErrorMsg;
    ep.TermErrors = &::TermErrors;
    return ep;
}

}  // namespace hostkit

#endif
