# SPDX-License-Identifier: Apache-2.0

# Run on the staged tree: mkdir(2) takes the umask of whoever builds off every directory's mode.
file(CHMOD_RECURSE "${CPACK_TEMPORARY_DIRECTORY}" DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
