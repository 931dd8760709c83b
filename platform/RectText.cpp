// SPDX-License-Identifier: GPL-3.0-or-later
// The text form of a rectangle in the stored settings: "{{x, y}, {width, height}}".
#include "platform/RectText.h"

#include <QRegularExpression>

#include <array>
#include <charconv>

namespace quorvane {

namespace {

/// Not QString::number(), which loses the sign of -0.
QLatin1String numberText(double number, std::array<char, 32>& buffer)
{
    const auto end = std::to_chars(
        buffer.data(), buffer.data() + buffer.size(), number, std::chars_format::general, 17);
    return QLatin1String(buffer.data(), end.ptr);
}

double numberFrom(QStringView text)
{
    bool fits = false;
    const double number = text.toDouble(&fits);
    return fits ? number : 0;
}

} // namespace

QString stringFromRect(const QRectF& rect)
{
    std::array<char, 32> x {};
    std::array<char, 32> y {};
    std::array<char, 32> width {};
    std::array<char, 32> height {};
    return QStringLiteral("{{%1, %2}, {%3, %4}}")
        .arg(numberText(rect.x(), x), numberText(rect.y(), y), numberText(rect.width(), width),
            numberText(rect.height(), height));
}

QRectF rectFromString(const QString& text)
{
    const QRegularExpression number(
        QStringLiteral("[-+]?([0-9]+\\.?[0-9]*|\\.[0-9]+)([eE][-+]?[0-9]+)?"));
    std::array<double, 4> found {};
    auto match = number.globalMatch(text);
    for (double& value : found) {
        if (!match.hasNext())
            break;
        value = numberFrom(match.next().capturedView());
    }
    return { found[0], found[1], found[2], found[3] };
}

} // namespace quorvane
