#pragma once

#include "zacq/ZacqFolder.h"

namespace zel::zacq {

/// Turns a folder form into the sparse form, in steps of which each leaves a container that opens:
///
/// 1. point(): the container's manifest gets the pointer. The sample is where it was, and that is
///    where it is found, since the target does not exist.
/// 2. stage(): the target grows inside the container, with its manifest.
/// 3. move(): one rename takes the sample's folder there. It is found there from then on.
/// 4. publish(): one rename takes the whole to its place.
///
/// So the target exists only when it is whole, and nothing lies outside the container before.
/// Every step looks first whether an interrupted run has done it already. None takes the sample to
/// a folder whose name is not on the disk yet.
class SparseConversion
{
    Q_DECLARE_TR_FUNCTIONS(zel::zacq::SparseConversion)

public:
    SparseConversion(const QString &source, const QString &target);

    /// All of it.
    Error run();

    /// Reads the container and judges the target. The other steps need this first.
    Error prepare();
    /// Whether the container is sparse already.
    bool isDone() const;
    Error point();
    Error stage();
    Error move();
    Error publish();

private:
    Error chooseTarget();
    Error clearTarget();

    const ZacqFolder container;
    const QString target; ///< absolute
    ZacqManifest manifest;
    ZacqManifest::Pointer pointer;
};

} // namespace zel::zacq
