// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/MonitorProfile.h"

#include <QGuiApplication>
#include <QScreen>
#include <QtEndian>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

namespace quorvane {

namespace {

/// Bytes. Profiles made by measuring a monitor have about a megabyte.
constexpr std::uint32_t kLimit = 16U << 20;

constexpr qsizetype kHeaderSize = 128;
constexpr qsizetype kSignaturePlace = 36;

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <typename Reply> using Owned = std::unique_ptr<Reply, Free>;

/// The first monitor's has no number, the others' have theirs.
QByteArray propertyName(const QScreen& screen)
{
    const auto number = QGuiApplication::screens().indexOf(const_cast<QScreen*>(&screen));
    const QByteArray first = QByteArrayLiteral("_ICC_PROFILE");
    return number <= 0 ? first : first + '_' + QByteArray::number(number);
}

QByteArray rootProperty(xcb_connection_t* server, const QByteArray& name)
{
    const Owned<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(server,
        xcb_intern_atom(server, 1, static_cast<std::uint16_t>(name.size()), name.constData()),
        nullptr));
    const auto screens = xcb_setup_roots_iterator(xcb_get_setup(server));
    if (!atom || atom->atom == XCB_ATOM_NONE || screens.rem == 0)
        return {};
    const Owned<xcb_get_property_reply_t> property(xcb_get_property_reply(server,
        xcb_get_property(server, 0, screens.data->root, atom->atom, XCB_ATOM_ANY, 0, kLimit / 4),
        nullptr));
    if (!property || property->format != 8 || property->bytes_after != 0)
        return {};
    return { static_cast<const char*>(xcb_get_property_value(property.get())),
        xcb_get_property_value_length(property.get()) };
}

} // namespace

bool isWholeProfile(const QByteArray& bytes)
{
    return bytes.size() >= kHeaderSize
        && qFromBigEndian<quint32>(bytes.constData()) == static_cast<quint64>(bytes.size())
        && bytes.mid(kSignaturePlace, 4) == "acsp";
}

QByteArray monitorProfile(const QScreen& screen)
{
    const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection())
        return {};
    const QByteArray profile = rootProperty(x11->connection(), propertyName(screen));
    return isWholeProfile(profile) ? profile : QByteArray();
}

} // namespace quorvane
