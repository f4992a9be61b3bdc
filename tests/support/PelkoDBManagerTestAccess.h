#ifndef PELKO_TESTS_SUPPORT_PELKO_DB_MANAGER_TEST_ACCESS_H
#define PELKO_TESTS_SUPPORT_PELKO_DB_MANAGER_TEST_ACCESS_H

#include <memory>
#include <string>

#include "classes/storage/PelkoDBManager.h"

namespace pelkoapi {

/// The private operations of the manager, for tests of their own.
struct PelkoDBManagerTestAccess {
    using Manager = PelkoDBManager;

    /// A manager of the test's own, beside the singleton.
    static std::unique_ptr<Manager> make() { return std::unique_ptr<Manager>(new Manager); }
    /// The singleton pointer; null until the first getInstance().
    static Manager*& sharedInstance() { return Manager::sharedInstance; }
    /// The manager's connection; null while closed.
    static CppSQLite3DB* connection(const Manager& m) { return m.mpDB.get(); }

    static std::string getDBPath(Manager& m) { return m.getDBPath(); }
    static bool isDBReady(const Manager& m) { return m.isDBReady(); }
    static void createTablesIfNotExist(Manager& m) { m.createTablesIfNotExist(); }
    static bool createMsgTable(Manager& m) { return m.createMsgTable(); }
    static bool createRelationshipTable(Manager& m) { return m.createRelationshipTable(); }
    static bool createUserTable(Manager& m) { return m.createUserTable(); }
    static bool createRoomTable(Manager& m) { return m.createRoomTable(); }
    static bool createGroupTable(Manager& m) { return m.createGroupTable(); }
    static bool createGroupListTable(Manager& m) { return m.createGroupListTable(); }
    static bool createSessionTable(Manager& m) { return m.createSessionTable(); }
    static bool createNotifyTable(Manager& m) { return m.createNotifyTable(); }
    static bool createLastMsgIdTable(Manager& m) { return m.createLastMsgIdTable(); }
    static bool createMsgConfigTable(Manager& m) { return m.createMsgConfigTable(); }
    static bool createConfigTable(Manager& m) { return m.createConfigTable(); }
    static void nessesaryUpdate(Manager& m) { m.nessesaryUpdate(); }
    static std::string getTargetUniqueID(Manager& m, const PelkoChatTarget& target) {
        return m.getTargetUniqueID(target);
    }
    static PelkoChatTarget targetFromTypeAndID(Manager& m, PelkoChatTargetType type, const char* id) {
        return m.targetFromTypeAndID(type, id);
    }
    static PelkoMessage createMsgFromQuery(Manager& m, CppSQLite3Query& query) {
        return m.createMsgFromQuery(query);
    }
    static std::string conditionSqlWithTarget(Manager& m, const PelkoChatTarget& target) {
        return m.conditionSqlWithTarget(target);
    }
    static void updateRoomFromQuery(Manager& m, CppSQLite3Query& query, PelkoRoom& room) {
        m.updateRoomFromQuery(query, room);
    }
    static PelkoNotify notifyFromQuery(Manager& m, CppSQLite3Query& query) {
        return m.notifyFromQuery(query);
    }
};

}  // namespace pelkoapi

#endif  // PELKO_TESTS_SUPPORT_PELKO_DB_MANAGER_TEST_ACCESS_H
