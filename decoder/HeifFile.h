// SPDX-License-Identifier: GPL-3.0-or-later
// The pictures in a HEIF file, found by the library. It stays in the sources.
#pragma once

#include "platform/Result.h"

#include <QByteArray>
#include <QSize>

#include <memory>

struct heif_context;
struct heif_error;
struct heif_image_handle;

namespace quorvane {

/// The library's error as one of ours.
tl::unexpected<Error> heifFailure(const heif_error& error);

/// Gives the library its handle back.
struct HeifHandleCloser {
    void operator()(const heif_image_handle* handle) const;
};

/// One of the pictures in a file, not decoded.
struct HeifItem {
    std::unique_ptr<const heif_image_handle, HeifHandleCloser> handle;
    QSize size; ///< Upright.
};

/// A file whose boxes the library has read; it must outlive its items. Thread: any, one at a time.
class HeifFile {
public:
    /// \return Damaged, Unsupported or TooLarge.
    static Result<HeifFile> read(QByteArray bytes);

    /// The picture that is shown. \return Damaged or Unsupported.
    Result<HeifItem> primary() const;

    /// The small one that belongs to `picture`. \return NotFound when there is none, or it shows
    /// something else.
    Result<HeifItem> thumbnailOf(const HeifItem& picture) const;

private:
    struct ContextCloser {
        void operator()(heif_context* context) const;
    };

    HeifItem item(unsigned id, const heif_image_handle* handle) const;

    QByteArray mBytes; ///< The library reads from it as long as the context lives.
    std::unique_ptr<heif_context, ContextCloser> mContext;
};

} // namespace quorvane
