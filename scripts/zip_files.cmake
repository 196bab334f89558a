# Writes OUTPUT, a zip of FILES (paths relative to the working folder).
file(ARCHIVE_CREATE OUTPUT "${OUTPUT}" PATHS ${FILES} FORMAT zip MTIME 0)
