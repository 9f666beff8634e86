#include "stereovalidator/trust_rules.h"

#include "platform/text/text.h"

#include <algorithm>
#include <cmath>

namespace ostrel {
namespace {

using Class = StereoClassification;

QString side(std::size_t channel) { return channel == 0 ? QStringLiteral("Left") : QStringLiteral("Right"); }

QString decibels(double value) { return fixed(value, std::abs(value) < 9.95 ? 1 : 0) + QStringLiteral(" dB"); }

QString span(const Stretch& stretch) {
    return QStringLiteral("%1-%2").arg(clockText(stretch.start),
                                       clockText(std::ceil(stretch.start + stretch.length - 1e-6)));
}

QString lowerSide(double balanceDb) {
    return balanceDb < 0 ? QStringLiteral("on the right") : QStringLiteral("on the left");
}

// One verdict in the making: begins as sure, and every reason against it lowers the trust.
class Judge {
public:
    Judge(const StereoEvidence& evidence, const RecordedPair& pair, const TrustThresholds& limits)
        : e_(evidence), pair_(pair), t_(limits) {}

    Verdict of(Class classification) {
        nameThePair(classification);
        switch (classification) {
        case Class::dualMono: dualMono(); break;
        case Class::dualMonoGainMismatch: gainMismatch(); break;
        case Class::nearMono: nearMono(); break;
        case Class::trueStereo: trueStereo(); break;
        case Class::broken: broken(); break;
        case Class::oneSidedL: oneSided(1); break;
        case Class::oneSidedR: oneSided(0); break;
        case Class::silent: silent(); break;
        case Class::trueMono:
        case Class::unsupported: break;
        }
        if (classification != Class::trueMono && classification != Class::unsupported) tellFaults();
        return std::move(verdict_);
    }

private:
    void lower(Trust trust, const QString& sentence) {
        verdict_.trust = std::max(verdict_.trust, trust);
        verdict_.why << sentence;
    }
    void tell(const QString& sentence) { verdict_.why << sentence; }

    // Nothing of the quieter channel is left over. So it is where that channel holds noise alone, too.
    bool isExplained() const { return e_.residualDb <= t_.sameResidualDb && e_.residualShare <= t_.sameShareDb; }
    bool isOneSignal() const { return isExplained() && std::abs(e_.lagCorrelation) >= t_.sameDelayed; }
    bool isDelayed() const { return e_.lagMs != 0 && std::abs(e_.lagCorrelation) >= t_.sameDelayed; }
    bool isOpposite() const { return e_.lagCorrelation < 0; }

    // Whether there is anything to judge by.
    bool hasEvidence() {
        if (e_.activeWindows > 0) return true;
        lower(Trust::unsure, QStringLiteral("Nothing in it is loud enough to judge by"));
        return false;
    }

    void nameThePair(Class classification) {
        using Kind = RecordedPair::Kind;
        static const std::array<const char*, 8> kWords{
            "",
            "Left and right by their names (%1)",
            "A stereo mix by its names (%1)",
            "M/S by its names (%1)",
            "Two levels of one microphone by their names (%1)",
            "A track and its backup by their names (%1)",
            "Ambisonic by its names (%1)",
            "Two microphones by their names (%1)",
        };
        if (pair_.kind == Kind::unknown) return;
        const QString sentence = QString::fromLatin1(kWords[static_cast<std::size_t>(pair_.kind)]).arg(pair_.words);
        if (!pair_.isMeant() || classification == Class::silent || classification == Class::trueMono) {
            if (classification != Class::trueMono) tell(sentence);
            return;
        }
        const bool isStereo = classification == Class::trueStereo || classification == Class::nearMono;
        lower(isStereo ? Trust::likely : Trust::unsure, sentence);
    }

    // What a person hears as a channel that is gone. False where there is nothing of the kind.
    bool tellDeadChannel() {
        bool tellsAny = false;
        for (std::size_t channel = 0; channel < 2; ++channel) {
            const Stretch& dead = e_.channels[channel].dead;
            if (dead.length < t_.deadSeconds) continue;
            tellsAny = true;
            const bool toTheEnd = dead.start + dead.length > e_.seconds - t_.deadSeconds;
            const QString place = dead.start < t_.deadSeconds && toTheEnd ? QStringLiteral("all the time")
                                  : toTheEnd ? QStringLiteral("from ") + clockText(dead.start)
                                             : QStringLiteral("at ") + span(dead);
            lower(Trust::unsure, QStringLiteral("%1 channel silent %2").arg(side(channel), place));
        }
        return tellsAny;
    }

    void tellDelay() {
        const QString later = e_.lagMs > 0 ? QStringLiteral("on the right") : QStringLiteral("on the left");
        const QString what = isOpposite()
                                 ? QStringLiteral("Same signal, inverted, %1 ms later %2: spaced pair or delay")
                                 : QStringLiteral("Same signal %1 ms later %2: spaced pair or delay");
        lower(isDelayed() ? Trust::unsure : Trust::likely, what.arg(fixed(std::abs(e_.lagMs), 2), later));
    }

    void tellBalance() {
        if (e_.balanceSpreadDb <= t_.balanceSpreadDb) return;
        lower(Trust::unsure, QStringLiteral("The balance of the channels moves by %1, most at %2")
                                 .arg(decibels(e_.balanceSpreadDb), clockText(e_.balanceStart)));
    }

    // What is left over in the worst window. For verdicts that call the channels one signal.
    void tellDifference(const QString& looks) {
        const bool isUnlike = e_.residualDb > t_.differentResidualDb || e_.residualShare > t_.sameShareDb;
        if (isExplained()) return;
        lower(isUnlike ? Trust::unsure : Trust::likely,
              QStringLiteral("%1, but differs by %2 at %3").arg(looks, decibels(e_.residualDb), span(e_.worst)));
    }

    void dualMono() {
        if (!hasEvidence()) return;
        const bool dead = tellDeadChannel();
        tellDifference(QStringLiteral("Looks dual mono"));
        if (!dead) tellBalance();
    }

    void gainMismatch() {
        if (!hasEvidence()) return;
        const QString lower_ = lowerSide(e_.balanceDb);
        const QString amount = decibels(std::abs(e_.balanceDb));
        const bool dead = tellDeadChannel();
        if (!isExplained()) {
            const bool isUnlike = e_.residualShare > t_.sameShareDb || e_.residualDb > t_.differentResidualDb;
            const QString looks = isUnlike ? QStringLiteral("Looks like M/S or a second microphone")
                                           : QStringLiteral("Looks like one signal");
            lower(isUnlike ? Trust::unsure : Trust::likely,
                  QStringLiteral("%1: the channel that is %2 lower %3 differs by %4 of its own level at %5")
                      .arg(looks, amount, lower_, decibels(e_.residualShare), span(e_.worst)));
        }
        if (isOpposite()) {
            lower(Trust::unsure, QStringLiteral("Same signal, inverted and %1 lower %2").arg(amount, lower_));
        } else if (isOneSignal() && std::abs(e_.balanceDb) >= t_.plainGainDb) {
            lower(Trust::unsure,
                  QStringLiteral("Same signal %1 lower %2: a safety track or a gain mismatch").arg(amount, lower_));
        }
        if (!dead) tellBalance();
    }

    void nearMono() {
        if (!hasEvidence()) return;
        if (e_.lagMs != 0) tellDelay();
        tellDeadChannel();
        if (e_.highestCorrelation < 0) {
            lower(Trust::unsure,
                  QStringLiteral("The channels oppose each other (correlation %1)").arg(fixed(e_.lagCorrelation, 2)));
        } else if (e_.lowestCorrelation < t_.steadyCorrelation) {
            lower(e_.changingShare > t_.mostlyMono ? Trust::unsure : Trust::likely,
                  QStringLiteral("Correlation falls to %1, at %2").arg(fixed(e_.lowestCorrelation, 2), span(e_.worst)));
        }
        tellLowBand();
    }

    // What lies below 120 Hz alone, and hides or makes up a likeness.
    void tellLowBand() {
        if (e_.upperShare < t_.leastUpperShare || e_.lagMs != 0) return;
        if (e_.upperCorrelation >= t_.sameAbove && e_.lagCorrelation < t_.sameAbove) {
            lower(Trust::unsure, QStringLiteral("Above 120 Hz the channels are the same"));
        } else if (e_.oppositeBelowHz > 0) {
            lower(Trust::unsure, QStringLiteral("Opposite only below %1 Hz").arg(static_cast<int>(e_.oppositeBelowHz)));
        }
    }

    bool looksMidSide() const { return e_.positiveShare > t_.relatedShare && e_.negativeShare > t_.relatedShare; }

    void trueStereo() {
        if (e_.isShort) {
            lower(Trust::likely, QStringLiteral("Shorter than a second: judged as one piece"));
        }
        if (!hasEvidence()) return;
        const bool dead = tellDeadChannel();
        if (e_.lagMs != 0) {
            tellDelay();
        } else if (isOneSignal() && !dead) {
            tellOneSignal();
        } else {
            tellLowBand();
        }
        if (looksMidSide()) {
            lower(Trust::unsure, QStringLiteral("Looks like M/S: the channels agree and oppose by turns"));
        } else if (e_.negativeShare > t_.relatedShare) {
            lower(Trust::unsure, QStringLiteral("Partly opposite: an effect, or a channel that was inverted"));
        }
        if (dead || isOneSignal()) return;
        if (e_.balanceSpreadDb >= t_.movingDb) {
            lower(Trust::likely, QStringLiteral("The sound moves between the channels by %1: perhaps two microphones")
                                     .arg(decibels(e_.balanceSpreadDb)));
        } else if (std::abs(e_.balanceDb) >= t_.crosstalkDb) {
            lower(Trust::likely,
                  QStringLiteral("%1 lower %2").arg(decibels(std::abs(e_.balanceDb)), lowerSide(e_.balanceDb)));
        }
        if (e_.changingShare < t_.sometimesMono && e_.positiveShare > t_.relatedShare && e_.lagMs == 0) {
            lower(e_.changingShare < t_.mostlyMono ? Trust::unsure : Trust::likely,
                  QStringLiteral("Nearly mono for %1 % of the sound").arg(fixed(100 * (1 - e_.changingShare), 0)));
        }
    }

    void tellOneSignal() {
        const QString amount = decibels(std::abs(e_.balanceDb));
        const QString inverted = isOpposite() ? QStringLiteral(", inverted,") : QString();
        if (std::abs(e_.balanceDb) >= t_.crosstalkDb) {
            lower(Trust::unsure, QStringLiteral("Same signal%1 %2 lower %3: crosstalk, or one channel alone")
                                     .arg(inverted, amount, lowerSide(e_.balanceDb)));
        } else if (std::abs(e_.balanceDb) >= 1.5) {
            lower(Trust::unsure,
                  QStringLiteral("Same signal%1 %2 lower %3").arg(inverted, amount, lowerSide(e_.balanceDb)));
        } else {
            lower(Trust::unsure, isOpposite() ? QStringLiteral("Both channels hold the same signal, one inverted")
                                              : QStringLiteral("Both channels hold the same signal"));
        }
    }

    void broken() {
        if (!hasEvidence()) return;
        const bool dead = tellDeadChannel();
        if (e_.lagMs != 0) {
            tellDelay();
        } else if (e_.upperShare < t_.leastUpperShare) {
            lower(Trust::unsure, QStringLiteral("Holds nothing above 120 Hz to judge by"));
        } else if (e_.oppositeBelowHz > 0) {
            tellLowBand();
        } else if (e_.upperCorrelation > t_.oppositeAbove) {
            lower(Trust::unsure,
                  QStringLiteral("Opposite, but not one signal: an effect, wide stereo or M/S (correlation "
                                 "%1 above 120 Hz)")
                      .arg(fixed(e_.upperCorrelation, 2)));
        }
        tellDifference(QStringLiteral("Looks inverted"));
        if (!dead) tellBalance();
        if (isOneSignal() && std::abs(e_.balanceDb) >= t_.crosstalkDb) tellOneSignal();
        if (verdict_.trust == Trust::sure) tell(QStringLiteral("Same signal with inverted polarity"));
    }

    // `quiet` is the channel that the verdict calls empty.
    void oneSided(std::size_t quiet) {
        const ChannelEvidence& empty = e_.channels[quiet];
        const double distance = e_.channels[1 - quiet].loudestDbfs - empty.loudestDbfs;
        if (empty.loudestDbfs > t_.soundDbfs && distance < t_.soundDistanceDb) {
            lower(Trust::unsure, QStringLiteral("%1 channel holds sound of %2 FS at %3")
                                     .arg(side(quiet), decibels(empty.loudestDbfs), clockText(empty.loudestStart)));
        } else if (empty.peak > t_.clickPeak) {
            lower(Trust::likely, QStringLiteral("%1 channel is not empty: a click at least").arg(side(quiet)));
        } else if (empty.loudestDbfs > t_.soundDbfs) {
            lower(Trust::likely, QStringLiteral("%1 channel holds something %2 lower: crosstalk or noise")
                                     .arg(side(quiet), decibels(distance)));
        }
    }

    void silent() {
        const std::size_t louder = e_.channels[0].peak < e_.channels[1].peak ? 1 : 0;
        const ChannelEvidence& channel = e_.channels[louder];
        if (channel.peak <= t_.silentPeak) return;
        lower(Trust::unsure,
              QStringLiteral("%1 channel is not silent at %2").arg(side(louder), clockText(channel.loudestStart)));
    }

    static QString times(int count) {
        return count == 1 ? QStringLiteral("once") : QStringLiteral("%1 times").arg(count);
    }

    // What no verdict depends on, and a person wants to know of.
    void tellFaults() {
        for (std::size_t i = 0; i < 2; ++i) {
            const ChannelEvidence& channel = e_.channels[i];
            if (channel.clippedRuns > 0) {
                tell(QStringLiteral("%1 channel clipped (%2, first at %3)")
                         .arg(side(i), times(channel.clippedRuns), clockText(channel.firstClip)));
            }
            if (channel.dropouts > 0) {
                tell(QStringLiteral("%1 channel drops out (%2, longest %3 ms at %4)")
                         .arg(side(i), times(channel.dropouts), fixed(1000 * channel.longestDropout.length, 0),
                              clockText(channel.longestDropout.start)));
            }
            if (std::abs(channel.dc) >= t_.notableDc) {
                tell(QStringLiteral("%1 channel has a DC offset of %2").arg(side(i), fixed(channel.dc, 3)));
            }
        }
    }

    const StereoEvidence& e_;
    const RecordedPair& pair_;
    const TrustThresholds& t_;
    Verdict verdict_;
};

} // namespace

QString rawText(Trust trust) {
    static const std::array words{"sure", "likely", "unsure"};
    return QString::fromLatin1(words[static_cast<std::size_t>(trust)]);
}

QString displayName(Trust trust) {
    static const std::array words{"Sure", "Likely", "Unsure"};
    return QString::fromLatin1(words[static_cast<std::size_t>(trust)]);
}

std::optional<Trust> trustOf(const QString& text) {
    const auto found =
        std::find_if(kAllTrusts.begin(), kAllTrusts.end(), [&](Trust each) { return rawText(each) == text; });
    return found == kAllTrusts.end() ? std::nullopt : std::optional(*found);
}

Verdict judge(StereoClassification classification, const StereoEvidence& evidence, const RecordedPair& pair,
              const TrustThresholds& thresholds) {
    return Judge(evidence, pair, thresholds).of(classification);
}

bool isLeftTheCleanerChannel(const StereoEvidence& evidence) {
    const auto& [left, right] = evidence.channels;
    if (left.dropouts != right.dropouts) return left.dropouts < right.dropouts;
    return left.clippedRuns <= right.clippedRuns;
}

} // namespace ostrel
