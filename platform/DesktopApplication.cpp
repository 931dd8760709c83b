// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DesktopApplication.h"

#include "platform/DesktopModule.h"
#include "platform/FileURL.h"
#include "platform/ModuleLoading.h"
#include "platform/TypeIdentifier.h"

namespace quorvane {

namespace {

const DesktopFunctions* loadModule()
{
    const auto function = reinterpret_cast<DesktopFunction>(
        loadModuleFunction(kDesktopModule, kDesktopFunction, "Applications are not known"));
    return function ? function() : nullptr;
}

const DesktopFunctions* desktop()
{
    static const DesktopFunctions* const functions = loadModule();
    return functions;
}

QByteArrayList mimeTypesOf(const FileURL& url)
{
    QByteArrayList types;
    const QString identifier = TypeIdentifier::typeIdentifierForFile(url.path());
    for (const QString& type : TypeIdentifier::mimeTypesOf(identifier))
        types.append(type.toLatin1());
    return types;
}

tl::unexpected<Error> missingModule()
{
    return fail(ErrorKind::Other, QStringLiteral("a part of this program is missing"));
}

} // namespace

std::optional<DesktopApplication> editorOf(const FileURL& url)
{
    return desktop() ? desktop()->editorOf(mimeTypesOf(url)) : std::nullopt;
}

std::optional<DesktopApplication> viewerOf(const FileURL& url)
{
    return desktop() ? desktop()->viewerOf(mimeTypesOf(url)) : std::nullopt;
}

Result<DesktopApplication> applicationAt(const QByteArray& path)
{
    if (!desktop())
        return missingModule();
    return desktop()->applicationAt(path);
}

Result<void> openWith(const DesktopApplication& application, const FileURL& url)
{
    if (!desktop())
        return missingModule();
    return desktop()->openWith(application.path, url.path());
}

} // namespace quorvane
