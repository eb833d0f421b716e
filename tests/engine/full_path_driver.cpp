#include "tests/engine/full_path_driver.h"

#include <array>
#include <climits>

#include "constants/co2_constants.h"
#include "engine/slots.h"
#include "log/log.h"
#include "solvers/alkalinity.h"
#include "solvers/co2_flux.h"
#include "solvers/density.h"
#include "solvers/pair_solvers.h"
#include "solvers/revelle.h"
#include "solvers/saturation.h"

namespace brinora::test {
namespace {

enum Parameter { kTA = 1, kTCO2 = 2, kpH = 3, kfCO2 = 4, kpCO2 = 5 };
constexpr double kMicro = 1000000.0;

int integerPart(float value) {
    if (!(value >= -2147483648.0f && value < 2147483648.0f)) return INT_MIN;
    return static_cast<int>(value);
}

using ResultRecord = std::array<float, slot::kResultCount + 1>;

void fillDerived(ResultRecord& r, int first, int whichKs, float Sal, float TempC, float Pdbar, float TA, float TCO2,
                 float pH, float pCO2, float K0, float VPFac, const ConstantsArray& K, const TotalsArray& T) {
    const float K1 = K[k::K1];
    const float K2 = K[k::K2];
    const float TP = T[t::TP];
    float HCO3 = 0, CO3 = 0, BAlk = 0, OH = 0, PAlk = 0, SiAlk = 0, Hfree = 0, HSO4 = 0, HF = 0;
    CalculateAlkParts(pH, TCO2, K, T, HCO3, CO3, BAlk, OH, PAlk, SiAlk, Hfree, HSO4, HF);
    if (whichKs == 7) PAlk = PAlk + TP;
    const float CO2 = (TCO2 - CO3) - HCO3;
    float Revelle = 0;
    RevelleFactor(static_cast<short>(whichKs), TA, TCO2, K0, K, T, Revelle);
    float OmegaCa = 0, OmegaAr = 0;
    CaSolubility(static_cast<short>(whichKs), Sal, TempC, Pdbar, TCO2, pH, K1, K2, OmegaCa, OmegaAr);
    const float xCO2 = pCO2 / VPFac;
    r[first + 0] = static_cast<float>(static_cast<double>(HCO3) * kMicro);
    r[first + 1] = static_cast<float>(static_cast<double>(CO3) * kMicro);
    r[first + 2] = static_cast<float>(static_cast<double>(CO2) * kMicro);
    r[first + 3] = static_cast<float>(static_cast<double>(BAlk) * kMicro);
    r[first + 4] = static_cast<float>(static_cast<double>(OH) * kMicro);
    r[first + 5] = static_cast<float>(static_cast<double>(PAlk) * kMicro);
    r[first + 6] = static_cast<float>(static_cast<double>(SiAlk) * kMicro);
    r[first + 7] = Revelle;
    r[first + 8] = OmegaCa;
    r[first + 9] = OmegaAr;
    r[first + 10] = static_cast<float>(static_cast<double>(xCO2) * kMicro);
}

float toChemistry(float boardValue) { return static_cast<float>(boardValue / kMicro); }
float toBoard(float chemistryValue) { return static_cast<float>(chemistryValue * kMicro); }

}  // namespace

ComputeOutcome fullPathComputeCO2(Board& board, float& K0out, float& FugFacOut, std::vector<std::string>& logLines) {
    using Status = ComputeOutcome::Status;
    const log::ScopedSink capture([&logLines](std::string_view line) { logLines.emplace_back(line); });
    ProcessValues values{K0out, FugFacOut};
    float S = board.get(slot::kSalinity);
    float TempC = board.get(slot::kTemperature);
    float Pdbar = board.get(slot::kPressure);
    float TP = board.get(slot::kPhosphate);
    float TSi = board.get(slot::kSilicate);
    float TempCOut = board.get(slot::kTemperatureOut);
    float PdbarOut = board.get(slot::kPressureOut);
    if (TempCOut == 0.0f) TempCOut = TempC;
    if (PdbarOut == 0.0f) PdbarOut = Pdbar;
    const float TempCOutForSigma = TempCOut;
    float TA = board.get(slot::kTA);
    float TCO2 = board.get(slot::kTCO2);
    float pH = board.get(slot::kpH);
    float fCO2 = board.get(slot::kfCO2);
    float pCO2 = board.get(slot::kpCO2);
    const float pCO2air = board.get(slot::kpCO2Air);
    const float windSpeed = board.get(slot::kWindSpeed);
    const int whichKs = integerPart(board.get(slot::kConstantsSet)) + 1;
    const int whichKSO4 = integerPart(board.get(slot::kKHSO4)) + 1;
    const int pHScale = integerPart(board.get(slot::kpHScale)) + 1;
    const int flux = FluxFormulaCode(board.get(slot::kAirSeaFlux));

    const std::array<float, 6> parameters{0.0f, TA, TCO2, pH, fCO2, pCO2};
    std::array<float*, 8> conditions{nullptr, &S, &TempC, &Pdbar, &TP, &TSi, &TempCOut, &PdbarOut};
    int chosen[2] = {0, 0};
    int chosenCount = 0;
    for (int i = 1; i <= 7; ++i) {
        if (i <= 5 && parameters[i] != 0.0f && chosenCount < 2) {
            chosen[chosenCount++] = i;
            if (parameters[i] < 0.0f) return {Status::kNegativeParameter, i};
        }
        float& condition = *conditions[i];
        if (condition == -9.0f || condition == -999.0f) {
            if (i == 1) return {Status::kSalinityMissing, 0};
            if (i == 2) return {Status::kTemperatureMissing, 0};
            condition = 0.0f;
        }
    }
    float SalChem = S;
    if (whichKs == 8 || whichKs == 6) {
        TP = 0.0f;
        TSi = 0.0f;
        if (whichKs == 8) SalChem = 0.0f;
    } else {
        TP = toChemistry(TP);
        TSi = toChemistry(TSi);
    }
    ConstantsArray K{};
    TotalsArray T{};
    T[t::TP] = TP;
    T[t::TSi] = TSi;
    float fH = 0.0f;
    float VPFac = 0.0f;
    CO2_Constants(pHScale, whichKs, whichKSO4, SalChem, TempC, Pdbar, values.K0, K, T, fH, values.FugFac, VPFac);
    float K1 = K[k::K1];
    float K2 = K[k::K2];
    const short pairCode = static_cast<short>(10 * chosen[0] + chosen[1]);
    const bool fCO2Given = chosen[0] == kfCO2 || chosen[1] == kfCO2;
    const bool pCO2Given = chosen[0] == kpCO2 || chosen[1] == kpCO2;
    if (fCO2Given) {
        pCO2 = fCO2 / values.FugFac;
    } else if (pCO2Given) {
        fCO2 = pCO2 * values.FugFac;
    }
    TA = toChemistry(TA);
    TCO2 = toChemistry(TCO2);
    fCO2 = toChemistry(fCO2);
    pCO2 = toChemistry(pCO2);
    const bool phosphateOutside = whichKs == 7;
    bool solved = true;
    switch (pairCode) {
        case 12: {
            float unusedpCO2 = 0.0f;
            FindpHfCO2fromTATC(static_cast<short>(pHScale), static_cast<short>(whichKs),
                               static_cast<short>(whichKSO4), TA, TCO2, SalChem, K, T, TempC, Pdbar, pH, fCO2,
                               unusedpCO2, values);
            pCO2 = fCO2 / values.FugFac;
            break;
        }
        case 13:
            if (phosphateOutside) TA = TA - TP;
            CalculateTCfromTApH(TA, pH, K, T, TCO2);
            if (phosphateOutside) TA = TA + TP;
            CalculatefCO2fromTCpH(TCO2, pH, values.K0, K1, K2, fCO2);
            pCO2 = fCO2 / values.FugFac;
            break;
        case 14:
        case 15:
            if (phosphateOutside) TA = TA - TP;
            CalculatepHfromTAfCO2(TA, fCO2, values.K0, K, T, pH);
            CalculateTCfromTApH(TA, pH, K, T, TCO2);
            if (phosphateOutside) TA = TA + TP;
            break;
        case 23:
            CalculateTAfromTCpH(TCO2, pH, K, T, TA);
            if (phosphateOutside) TA = TA + TP;
            CalculatefCO2fromTCpH(TCO2, pH, values.K0, K1, K2, fCO2);
            pCO2 = fCO2 / values.FugFac;
            break;
        case 24:
        case 25:
            CalculatepHfromTCfCO2(TCO2, fCO2, values.K0, K1, K2, pH);
            if (pH == -999.0f) {
                TA = 0.0f;
            } else {
                CalculateTAfromTCpH(TCO2, pH, K, T, TA);
                if (phosphateOutside) TA = TA + TP;
            }
            break;
        case 34:
        case 35:
            CalculateTCfrompHfCO2(pH, fCO2, values.K0, K1, K2, TCO2);
            CalculateTAfromTCpH(TCO2, pH, K, T, TA);
            if (phosphateOutside) TA = TA + TP;
            break;
        default:
            solved = false;
            break;
    }
    const float TAsolved = solved ? TA : 0.0f;
    const float TCO2solved = solved ? TCO2 : 0.0f;
    const float pHsolved = solved ? pH : 0.0f;
    ResultRecord r{};
    r[1] = S;
    r[2] = TempC;
    r[3] = Pdbar;
    r[4] = TP * 1000000.0f;
    r[5] = TSi * 1000000.0f;
    r[6] = toBoard(TA);
    r[7] = toBoard(TCO2);
    r[8] = pH;
    r[9] = toBoard(fCO2);
    r[10] = toBoard(pCO2);
    fillDerived(r, 11, whichKs, SalChem, TempC, Pdbar, TAsolved, TCO2solved, pHsolved, pCO2, values.K0, VPFac, K, T);
    CO2_Constants(pHScale, whichKs, whichKSO4, SalChem, TempCOut, PdbarOut, values.K0, K, T, fH, values.FugFac,
                  VPFac);
    K1 = K[k::K1];
    K2 = K[k::K2];
    float pHOut = 0.0f;
    if (phosphateOutside) TA = TA - TP;
    CalculatepHfromTATC(TA, TCO2, K, T, pHOut);
    if (phosphateOutside) TA = TA + TP;
    float fCO2Out = 0.0f;
    CalculatefCO2fromTCpH(TCO2, pHOut, values.K0, K1, K2, fCO2Out);
    const float pCO2Out = fCO2Out / values.FugFac;
    r[23] = TempCOut;
    r[24] = PdbarOut;
    r[25] = pHOut;
    r[26] = toBoard(fCO2Out);
    r[27] = toBoard(pCO2Out);
    fillDerived(r, 28, whichKs, SalChem, TempCOut, PdbarOut, TA, TCO2, pHOut, pCO2Out, values.K0, VPFac, K, T);
    for (std::uint32_t i = 1; i <= slot::kResultCount; ++i) board.set(slot::kResultBase + i, r[i]);
    board.set(slot::kCO2FluxIn, static_cast<float>(CalcCO2Flux(flux, TempC, SalChem, windSpeed, pCO2air, r[10])));
    board.set(slot::kSigmaIn, static_cast<float>(Sigma(TempC, SalChem)));
    board.set(slot::kCO2FluxOut,
              static_cast<float>(CalcCO2Flux(flux, TempCOut, SalChem, windSpeed, pCO2air, r[27])));
    board.set(slot::kSigmaOut, static_cast<float>(Sigma(TempCOutForSigma, SalChem)));
    K0out = values.K0;
    FugFacOut = values.FugFac;
    return {};
}

}  // namespace brinora::test
