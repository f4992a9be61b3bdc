#include "tools/pelko/inspect/Findings.h"

#include <algorithm>
#include <numeric>

#include "tools/pelko/Output.h"

namespace pelkotool {

namespace {

using DifferenceKind = SchemaDifference::Kind;

constexpr char salvageRemedy[] = "'pelko salvage OUT' rescues what is left";

class Findings {
public:
    explicit Findings(const Inspection& inspection) : mInspection(inspection) {}

    std::vector<Finding> all() {
        addDamage();
        addSchema();
        addUnfinished();
        addFiles();
        addRows();
        addBadges();
        return mFindings;
    }

private:
    /// Adds a finding of so many things; none of no thing.
    void add(long long number, const std::string& one, const std::string& many, const std::string& remedy) {
        if (number > 0) {
            mFindings.push_back({counted(number, one, many), remedy});
        }
    }

    long long differences(std::initializer_list<DifferenceKind> kinds) const {
        const auto& found = mInspection.schema.found;
        return std::count_if(found.begin(), found.end(), [&](const SchemaDifference& difference) {
            return std::find(kinds.begin(), kinds.end(), difference.kind) != kinds.end();
        });
    }

    void addDamage() {
        if (!mInspection.quickCheck.found.empty()) {
            mFindings.push_back(
                {"the quick check tells damage", std::string("'pelko check' tells more, ") + salvageRemedy});
        }
        add(static_cast<long long>(mInspection.failures().size()), "part could not be read",
            "parts could not be read", remedyForUnread(mInspection));
    }

    void addSchema() {
        add(differences({DifferenceKind::missingTable}), "table is missing", "tables are missing",
            "the next opening makes it, empty");
        add(differences({DifferenceKind::noPlainTable, DifferenceKind::missingColumn,
                         DifferenceKind::extraColumn, DifferenceKind::otherType, DifferenceKind::otherPlace,
                         DifferenceKind::missingKey, DifferenceKind::extraKey,
                         DifferenceKind::otherKeyPlace}),
            "difference in the store's tables", "differences in the store's tables",
            "the store leaves them so: 'pelko salvage OUT' takes the rows over into tables of the right "
            "form");
        add(differences({DifferenceKind::extraTable, DifferenceKind::view, DifferenceKind::trigger,
                         DifferenceKind::extraIndex}),
            "table, view, trigger or index that is not the store's",
            "tables, views, triggers and indexes that are not the store's",
            "another program has made them; the store runs no triggers and views");
    }

    void addUnfinished() {
        const Unfinished& unfinished = mInspection.unfinished.found;
        constexpr char repaired[] = "the next opening by a client repairs it";
        add(unfinished.sending, "message still being sent", "messages still being sent", repaired);
        add(unfinished.arrived + unfinished.notArrived, "transfer that ended untold",
            "transfers that ended untold", repaired);
    }

    void addFiles() {
        add(static_cast<long long>(mInspection.attachments.found.missing.size()),
            "named file that is not there", "named files that are not there",
            "put them back from a backup, or name the folder of the data with --data-dir when this is a "
            "copy");
        const NamedFiles::Folder& folder = mInspection.unnamed.found;
        add(static_cast<long long>(folder.unnamed.size()), "file that no row names",
            "files that no row names", "look at them before you remove them: they may be the client's");
        add(static_cast<long long>(folder.unreadable.size()), "folder that could not be looked into",
            "folders that could not be looked into", "make it readable");
    }

    void addRows() {
        const auto& kinds = mInspection.unknownKinds.found;
        add(std::accumulate(kinds.begin(), kinds.end(), 0LL,
                            [](long long sum, const UnknownKind& kind) { return sum + kind.rows; }),
            "target of an unknown kind", "targets of unknown kinds",
            "no conversation of a client shows them; 'pelko delete DBID' removes messages");
        add(static_cast<long long>(mInspection.duplicates.found.size()), "service id stored more than once",
            "service ids stored more than once", "'pelko delete DBID' removes what is too much");
        add(mInspection.future.found.messages, "message dated in the future", "messages dated in the future",
            "they stay the last ones of their conversations until then; 'pelko delete DBID' removes them");
    }

    void addBadges() {
        add(mInspection.unreadWithoutSession(), "unread message in conversations without a session",
            "unread messages in conversations without a session",
            "no list shows them, but the badge counts them: 'pelko read TARGET'");
        add(mInspection.messagesBetweenOthers(), "message between two others", "messages between two others",
            "no conversation shows them, but the badge counts unread ones: 'pelko export --format json' "
            "tells their "
            "DBIDs, 'pelko delete DBID' removes them");
        add(static_cast<long long>(mInspection.lostSessions.found.size()),
            "session without a last message of its own", "sessions without a last message of their own",
            "the next message of the conversation puts it right");
    }

    const Inspection& mInspection;
    std::vector<Finding> mFindings;
};

}  // namespace

std::vector<Finding> findingsOf(const Inspection& inspection) {
    return Findings(inspection).all();
}

std::string remedyForUnread(const Inspection& inspection) {
    const bool isWhole = inspection.quickCheck.isRead() && inspection.quickCheck.found.empty();
    return isWhole ? "the differences of the schema tell why" : salvageRemedy;
}

}  // namespace pelkotool
