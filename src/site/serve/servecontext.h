#pragma once
// What the simulated services of all hosts share: the site, its shares, the
// network's accounts, the random source and the event output.

#include "platform/site/sitedirectory.h"
#include "platform/site/siteshares.h"
#include "site/gen/directory.h"

#include <QString>

#include <filesystem>
#include <functional>
#include <memory>
#include <random>

struct CServeContext {
    explicit CServeContext(const std::filesystem::path& root, quint32 seed)
        : site(std::make_shared<const OCL::Site::SiteDirectory>(root)), shares(site), rng(seed) {}

    OCL::Ini::Files& Files() const { return site->Files(); }
    // network.ini as it is now (re-read only when it changed).
    const CNetworkDirectory& Directory() {
        directory.Load(Files(), site->Root() / "network.ini");
        return directory;
    }
    void Print(const QString& line) const {
        if (print)
            print(line);
    }

    std::shared_ptr<const OCL::Site::SiteDirectory> site;
    OCL::Site::CSiteShares shares;
    CNetworkDirectory directory;
    std::mt19937 rng;
    std::function<void(const QString&)> print;
    // Simulated sessions end by themselves (with --rate); pipe sessions never do.
    bool simulating = false;
};
