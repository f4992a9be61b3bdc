#ifndef PELKO_STORAGE_SQL_NAMES_H
#define PELKO_STORAGE_SQL_NAMES_H

// The tables and columns of db.dat, each name once. A column that several tables share by name stands with
// the first of them. Spelling and order are the on-disk format.

namespace pelkoapi::sql {

constexpr char tblMsg[] = "tbl_msg";
constexpr char msgId[] = "msg_id";
constexpr char dbId[] = "db_id";
constexpr char type[] = "type";
constexpr char date[] = "date";
constexpr char text[] = "text";
constexpr char mediaType[] = "media_type";
constexpr char mediaPath[] = "media_path";
constexpr char exMediaPath[] = "ex_media_path";
constexpr char mediaUrl[] = "media_url";
constexpr char mediaStatus[] = "media_status";
constexpr char duration[] = "duration";
constexpr char receiverType[] = "receiver_type";
constexpr char receiverId[] = "receiver_id";
constexpr char senderType[] = "sender_type";
constexpr char senderId[] = "sender_id";
constexpr char status[] = "status";
constexpr char extraPath[] = "extra_path";

constexpr char tblRelationship[] = "tbl_relationship";
constexpr char username[] = "username";
constexpr char blockState[] = "block_state";

constexpr char tblUser[] = "tbl_user";
constexpr char nickname[] = "nickname";
constexpr char iconUrl[] = "icon_url";
constexpr char iconPath[] = "icon_path";
constexpr char exIconPath[] = "ex_icon_path";  // of tbl_user only
constexpr char info[] = "info";
constexpr char gender[] = "gender";
constexpr char infoVersion[] = "info_version";

constexpr char tblRoom[] = "tbl_room";
constexpr char roomId[] = "room_id";
constexpr char name[] = "name";
constexpr char iconPathEx[] = "icon_path_ex";  // of tbl_room and tbl_group
constexpr char isTop[] = "is_top";
constexpr char capacity[] = "capacity";
constexpr char onlineNumber[] = "online_number";

constexpr char tblGroup[] = "tbl_group";
constexpr char groupId[] = "group_id";
constexpr char owner[] = "owner";
constexpr char needAuth[] = "need_auth";

constexpr char tblGroupList[] = "tbl_group_list";

constexpr char tblSession[] = "tbl_session";
constexpr char targetType[] = "target_type";
constexpr char targetId[] = "target_id";
constexpr char lastMsgId[] = "last_msg_id";
constexpr char priority[] = "priority";

constexpr char tblNotify[] = "tbl_notify";
constexpr char isRead[] = "is_read";
constexpr char senderName[] = "sender_name";
constexpr char receiverName[] = "receiver_name";
constexpr char fromType[] = "from_type";
constexpr char fromId[] = "from_id";
constexpr char fromName[] = "from_name";
constexpr char isSystem[] = "is_system";
constexpr char response[] = "response";

constexpr char tblLastMsgId[] = "tbl_last_msg_id";
constexpr char key[] = "key";

constexpr char tblMsgConfig[] = "tbl_msg_config";
constexpr char msgConfig[] = "msg_config";

constexpr char rowid[] = "rowid";  // SQLite's own name of the row id
constexpr char count[] = "count";  // the result column of a count

}  // namespace pelkoapi::sql

#endif  // PELKO_STORAGE_SQL_NAMES_H
