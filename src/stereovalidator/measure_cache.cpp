#include "stereovalidator/measure_cache.h"

#include "platform/files/files.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"
#include "stereovalidator/evidence/evidence_document.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QUuid>
#include <QVariant>
#include <cstring>
#include <nlohmann/json.hpp>
#include <type_traits>

namespace ostrel {
namespace {

// Another number for whatever measures otherwise: entries of another one are thrown away.
constexpr int kAnalysisVersion = 1;
constexpr int kBusyMilliseconds = 200;
constexpr std::size_t kWrittenTogether = 64;
const QString kCorrupt = QStringLiteral("11"); // SQLite's codes
const QString kNoDatabase = QStringLiteral("26");

// What no other state of the file has.
QString stateOf(const FileStamp& stamp) {
    return QStringLiteral("%1:%2:%3:%4:%5")
        .arg(stamp.identity.device)
        .arg(stamp.identity.inode)
        .arg(stamp.size)
        .arg(stamp.modified)
        .arg(stamp.changed);
}

static_assert(sizeof(StripCell) == 5 && std::is_trivially_copyable_v<StripCell>); // kept as its bytes

nlohmann::json documentOf(const MeasuredFile& measured) {
    const ChannelAnalysis& m = measured.measures;
    nlohmann::json json{
        {"duration", measured.durationSeconds},
        {"rate", measured.sampleRate},
        {"channels", measured.channels},
        {"correlation", m.correlation},
        {"rmsDiff", m.rmsDiff},
        {"msRatio", m.msRatio},
        {"lagMs", m.lagMs},
        {"leftDbfs", m.leftDbfs},
        {"rightDbfs", m.rightDbfs},
        {"levelDiffDb", m.levelDiffDb},
        {"pair", static_cast<int>(measured.pair.kind)},
        {"pairWords", measured.pair.words.toStdString()},
    };
    if (m.gainCompensatedCorr) json["gainCompensatedCorr"] = *m.gainCompensatedCorr;
    if (!measured.evidence) return json;
    StereoEvidence withoutStrip = *measured.evidence;
    withoutStrip.strip.clear();
    json["evidence"] = withoutStrip;
    std::vector<std::uint8_t> bytes(measured.evidence->strip.size() * sizeof(StripCell));
    if (!bytes.empty()) std::memcpy(bytes.data(), measured.evidence->strip.data(), bytes.size());
    json["strip"] = nlohmann::json::binary(std::move(bytes));
    return json;
}

MeasuredFile measuredOf(const nlohmann::json& json) {
    MeasuredFile measured;
    ChannelAnalysis& m = measured.measures;
    json.at("duration").get_to(measured.durationSeconds);
    json.at("rate").get_to(measured.sampleRate);
    json.at("channels").get_to(measured.channels);
    json.at("correlation").get_to(m.correlation);
    json.at("rmsDiff").get_to(m.rmsDiff);
    json.at("msRatio").get_to(m.msRatio);
    json.at("lagMs").get_to(m.lagMs);
    json.at("leftDbfs").get_to(m.leftDbfs);
    json.at("rightDbfs").get_to(m.rightDbfs);
    json.at("levelDiffDb").get_to(m.levelDiffDb);
    if (json.contains("gainCompensatedCorr")) m.gainCompensatedCorr = json.at("gainCompensatedCorr").get<double>();
    const int kind = json.at("pair").get<int>();
    if (kind < 0 || kind > static_cast<int>(RecordedPair::Kind::separate)) {
        throw nlohmann::json::out_of_range::create(401, "pair", &json);
    }
    measured.pair = {static_cast<RecordedPair::Kind>(kind),
                     QString::fromStdString(json.at("pairWords").get<std::string>())};
    if (json.contains("evidence")) {
        auto evidence = json.at("evidence").get<StereoEvidence>();
        const auto& bytes = json.at("strip").get_binary();
        evidence.strip.resize(bytes.size() / sizeof(StripCell));
        if (!evidence.strip.empty()) {
            std::memcpy(evidence.strip.data(), bytes.data(), evidence.strip.size() * sizeof(StripCell));
        }
        measured.evidence = std::make_shared<const StereoEvidence>(std::move(evidence));
    }
    return measured;
}

} // namespace

QString MeasureCache::usualPath() { return paths::append(cacheFolder(), QStringLiteral("measures.sqlite")); }

MeasureCache::MeasureCache(const QString& path) {
    if (path.isEmpty()) return;
    Opened opened = open(path);
    if (opened == Opened::damaged) { // all that it held can be measured again
        close();
        QFile::remove(path);
        opened = open(path);
    }
    if (opened != Opened::yes) close();
}

MeasureCache::~MeasureCache() {
    flush();
    close();
}

MeasureCache::Opened MeasureCache::open(const QString& path) {
    try {
        files::createFolder(paths::parent(path));
    } catch (const FileError&) {
        return Opened::no; // nowhere to keep anything: it knows nothing
    }
    connection_ = QUuid::createUuid().toString();
    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection_);
    database.setDatabaseName(path);
    database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(kBusyMilliseconds));
    if (!database.open()) return Opened::no;
    query_ = std::make_unique<QSqlQuery>(database);
    const auto run = [&](const QString& statement) { return query_->exec(statement); };
    const auto failed = [&] {
        const QString code = query_->lastError().nativeErrorCode();
        return code == kNoDatabase || code == kCorrupt ? Opened::damaged : Opened::no;
    };
    if (!run(QStringLiteral("PRAGMA user_version")) || !query_->next()) return failed();
    const bool isOfThisVersion = query_->value(0).toInt() == kAnalysisVersion;
    query_->finish();
    run(QStringLiteral("PRAGMA journal_mode=WAL"));
    run(QStringLiteral("PRAGMA synchronous=NORMAL"));
    if (!isOfThisVersion && (!run(QStringLiteral("DROP TABLE IF EXISTS measures")) ||
                             !run(QStringLiteral("PRAGMA user_version=%1").arg(kAnalysisVersion)))) {
        return failed();
    }
    if (!run(QStringLiteral("CREATE TABLE IF NOT EXISTS measures (path TEXT PRIMARY KEY, state TEXT NOT NULL, "
                            "evidence INTEGER NOT NULL, document BLOB NOT NULL) WITHOUT ROWID"))) {
        return failed();
    }
    query_->setForwardOnly(true);
    return query_->prepare(QStringLiteral("SELECT state, evidence, document FROM measures WHERE path = ?"))
               ? Opened::yes
               : failed();
}

void MeasureCache::close() {
    query_.reset();
    if (connection_.isEmpty()) return;
    QSqlDatabase::database(connection_, false).close();
    QSqlDatabase::removeDatabase(connection_);
    connection_.clear();
}

std::optional<MeasuredFile> MeasureCache::find(const QString& file, const FileStamp& stamp, bool wantsEvidence) {
    if (!query_) return std::nullopt;
    query_->bindValue(0, file);
    if (!query_->exec() || !query_->next()) return std::nullopt;
    const bool isOfThisState = query_->value(0).toString() == stateOf(stamp);
    const bool hasEvidence = query_->value(1).toInt() != 0;
    const QByteArray document = query_->value(2).toByteArray();
    query_->finish();
    if (!isOfThisState || (wantsEvidence && !hasEvidence)) return std::nullopt;
    try {
        return measuredOf(nlohmann::json::from_cbor(document.begin(), document.end()));
    } catch (const nlohmann::json::exception&) {
        return std::nullopt; // is measured again, and kept anew
    }
}

void MeasureCache::keep(const QString& file, const FileStamp& stamp, const MeasuredFile& measured) {
    if (!query_) return;
    const std::vector<std::uint8_t> bytes = nlohmann::json::to_cbor(documentOf(measured));
    // A file of one channel, or of more than two, has no evidence to wait for.
    const bool hasEvidence = measured.evidence || measured.channels != 2;
    kept_.push_back({file, stateOf(stamp), hasEvidence,
                     QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size()))});
    if (kept_.size() >= kWrittenTogether) flush();
}

// What can't be written, as another program holds the database or the disk is full, is measured again some day.
void MeasureCache::flush() {
    if (!query_ || kept_.empty()) return;
    QSqlDatabase database = QSqlDatabase::database(connection_, false);
    if (database.transaction()) {
        QSqlQuery insert(database);
        insert.prepare(QStringLiteral("INSERT OR REPLACE INTO measures VALUES (?, ?, ?, ?)"));
        bool isWritten = true;
        for (const Entry& entry : kept_) {
            insert.bindValue(0, entry.file);
            insert.bindValue(1, entry.state);
            insert.bindValue(2, entry.hasEvidence ? 1 : 0);
            insert.bindValue(3, entry.document);
            isWritten = isWritten && insert.exec();
        }
        insert.finish();
        if (!isWritten || !database.commit()) database.rollback();
    }
    kept_.clear();
}

} // namespace ostrel
