#include "classes/storage/MediaColumns.h"

#include "classes/platform/FileUtil.h"
#include "classes/storage/SqlText.h"

namespace pelkoapi {

MediaText mediaText(const PelkoMedia& media) {
    return {unescapedText(media.url), unescapedText(FileUtil::getAppRelativePath(media.path)),
            unescapedText(FileUtil::getAppRelativePath(media.pathEx))};
}

void readMedia(CppSQLite3Query& query, const char* urlColumn, const char* pathColumn,
               const char* pathExColumn, PelkoMedia& media) {
    media.url = query.getStringField(urlColumn, "");
    media.path = FileUtil::getFullPath(query.getStringField(pathColumn, ""));
    media.pathEx = FileUtil::getFullPath(query.getStringField(pathExColumn, ""));
}

}  // namespace pelkoapi
