#include "gui/accelerators.h"

#include "engine/slots.h"

namespace brinora {

QString withAccelerator(const QString& text, QChar letter) {
    QString escaped = text;
    escaped.replace(QLatin1Char('&'), QStringLiteral("&&"));
    const int at = escaped.indexOf(letter, 0, Qt::CaseInsensitive);
    if (at < 0) return text;
    escaped.insert(at, QLatin1Char('&'));
    return escaped;
}

std::optional<FieldAccelerator> inputFieldAccelerator(std::uint32_t slot) {
    // The menu bar takes F, S, V and H, the button row C and L, the graph
    // page X, Y, B and Z. Salinity,
    // temperature, pressure and the carbonate names share few letters, so
    // phosphate, silicate, output pressure and pCO2 carry theirs on the unit.
    switch (slot) {
        case slot::kSalinity: return FieldAccelerator{QLatin1Char('n')};
        case slot::kTemperature: return FieldAccelerator{QLatin1Char('e')};
        case slot::kPressure: return FieldAccelerator{QLatin1Char('r')};
        case slot::kPhosphate: return FieldAccelerator{QLatin1Char('k'), true};
        case slot::kSilicate: return FieldAccelerator{QLatin1Char('g'), true};
        case slot::kTemperatureOut: return FieldAccelerator{QLatin1Char('u')};
        case slot::kPressureOut: return FieldAccelerator{QLatin1Char('d'), true};
        case slot::kTA: return FieldAccelerator{QLatin1Char('a')};
        case slot::kTCO2: return FieldAccelerator{QLatin1Char('t')};
        case slot::kpH: return FieldAccelerator{QLatin1Char('p')};
        case slot::kfCO2: return FieldAccelerator{QLatin1Char('o')};
        case slot::kpCO2: return FieldAccelerator{QLatin1Char('m'), true};
        case slot::kpCO2Air: return FieldAccelerator{QLatin1Char('i')};
        case slot::kWindSpeed: return FieldAccelerator{QLatin1Char('w')};
        default: return std::nullopt;
    }
}

}  // namespace brinora
