// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/HeifFile.h"

#include "decoder/HeifGeometry.h"
#include "decoder/ReaderFailures.h"

#include <libheif/heif.h>

namespace quorvane {

namespace {

ErrorKind kindOf(const heif_error& error)
{
    if (error.subcode == heif_suberror_Security_limit_exceeded)
        return ErrorKind::TooLarge;
    switch (error.code) {
    case heif_error_Unsupported_filetype:
    case heif_error_Unsupported_feature:
        return ErrorKind::Unsupported;
    case heif_error_Memory_allocation_error:
        return ErrorKind::TooLarge;
    default:
        return ErrorKind::Damaged;
    }
}

/// Whether `small` is `large` made smaller, by its shape: within a tenth, since small pictures are
/// rounded.
bool haveSameShape(QSize small, QSize large)
{
    const double ratio = double(small.width()) * large.height();
    const double wanted = double(small.height()) * large.width();
    return ratio > wanted * 0.9 && ratio < wanted * 1.1;
}

} // namespace

tl::unexpected<Error> heifFailure(const heif_error& error)
{
    return fail(kindOf(error), QString::fromUtf8(error.message));
}

void HeifHandleCloser::operator()(const heif_image_handle* handle) const
{
    heif_image_handle_release(handle);
}

void HeifFile::ContextCloser::operator()(heif_context* context) const
{
    heif_context_free(context);
}

Result<HeifFile> HeifFile::read(QByteArray bytes)
{
    HeifFile file;
    file.mBytes = std::move(bytes);
    file.mContext.reset(heif_context_alloc());
    if (!file.mContext)
        return noMemory();
    const heif_error error = heif_context_read_from_memory_without_copy(file.mContext.get(),
        file.mBytes.constData(), static_cast<size_t>(file.mBytes.size()), nullptr);
    if (error.code != heif_error_Ok)
        return heifFailure(error);
    return file;
}

HeifItem HeifFile::item(unsigned id, const heif_image_handle* handle) const
{
    const QSize told { heif_image_handle_get_width(handle), heif_image_handle_get_height(handle) };
    HeifItem item;
    item.handle.reset(handle);
    item.size = uprightHeifSize(mBytes, id).value_or(told);
    return item;
}

Result<HeifItem> HeifFile::primary() const
{
    heif_item_id id = 0;
    heif_image_handle* handle = nullptr;
    heif_error error = heif_context_get_primary_image_ID(mContext.get(), &id);
    if (error.code == heif_error_Ok)
        error = heif_context_get_image_handle(mContext.get(), id, &handle);
    if (error.code != heif_error_Ok)
        return heifFailure(error);
    return item(id, handle);
}

Result<HeifItem> HeifFile::thumbnailOf(const HeifItem& picture) const
{
    heif_item_id id = 0;
    heif_image_handle* handle = nullptr;
    const heif_image_handle* const owner = picture.handle.get();
    if (heif_image_handle_get_list_of_thumbnail_IDs(owner, &id, 1) < 1
        || heif_image_handle_get_thumbnail(owner, id, &handle).code != heif_error_Ok)
        return fail(ErrorKind::NotFound, QStringLiteral("no small picture in it"));
    HeifItem thumbnail = item(id, handle);
    if (!haveSameShape(thumbnail.size, picture.size))
        return fail(ErrorKind::NotFound, QStringLiteral("its small picture is another one"));
    return thumbnail;
}

} // namespace quorvane
