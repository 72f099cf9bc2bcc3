// Stand-in for <sys/proc_info.h>. Apple's documentation has no page for libproc; the names follow
// the proc_pidpath usage that Apple's libproc manual pages describe.
#pragma once

// libproc: the size of a buffer that holds any executable path (PROC_PIDPATHINFO_MAXSIZE)
#define PROC_PIDPATHINFO_MAXSIZE 4096

// The records and flavors below follow the libc crate's documentation of Apple's process
// information interface (docs.rs, libc, apple targets: proc_fdinfo, vnode_fdinfowithpath,
// vnode_info_path, vnode_info, vinfo_stat, proc_vnodepathinfo), the only published description.
#include <stdint.h>
#include <sys/param.h>

// libproc: PROC_PIDLISTFDS, the proc_pidinfo flavor listing a process's descriptors
#define PROC_PIDLISTFDS 1
// libproc: PROC_PIDVNODEPATHINFO, the proc_pidinfo flavor giving the current and root folders
#define PROC_PIDVNODEPATHINFO 9
// libproc: PROC_PIDFDVNODEPATHINFO, the proc_pidfdinfo flavor describing a vnode descriptor
#define PROC_PIDFDVNODEPATHINFO 2
// libproc: PROX_FDTYPE_VNODE, a descriptor of a vnode (a file or folder)
#define PROX_FDTYPE_VNODE 1

extern "C" {

// libproc: proc_fdinfo
struct proc_fdinfo {
    int32_t proc_fd;
    uint32_t proc_fdtype;
};

// libproc: proc_fileinfo
struct proc_fileinfo {
    uint32_t fi_openflags;
    uint32_t fi_status;
    int64_t fi_offset;
    int32_t fi_type;
    uint32_t fi_guardflags;
};

// libproc: vinfo_stat
struct vinfo_stat {
    uint32_t vst_dev;
    uint16_t vst_mode;
    uint16_t vst_nlink;
    uint64_t vst_ino;
    uint32_t vst_uid;
    uint32_t vst_gid;
    int64_t vst_atime;
    int64_t vst_atimensec;
    int64_t vst_mtime;
    int64_t vst_mtimensec;
    int64_t vst_ctime;
    int64_t vst_ctimensec;
    int64_t vst_birthtime;
    int64_t vst_birthtimensec;
    int64_t vst_size;
    int64_t vst_blocks;
    int32_t vst_blksize;
    uint32_t vst_flags;
    uint32_t vst_gen;
    uint32_t vst_rdev;
    int64_t vst_qspare[2];
};

// libproc: vnode_info
struct vnode_info {
    struct vinfo_stat vi_stat;
    int vi_type;
    int vi_pad;
    int32_t vi_fsid[2];
};

// libproc: vnode_info_path
struct vnode_info_path {
    struct vnode_info vip_vi;
    char vip_path[MAXPATHLEN];
};

// libproc: vnode_fdinfowithpath
struct vnode_fdinfowithpath {
    struct proc_fileinfo pfi;
    struct vnode_info_path pvip;
};

// libproc: proc_vnodepathinfo
struct proc_vnodepathinfo {
    struct vnode_info_path pvi_cdir;
    struct vnode_info_path pvi_rdir;
};

}  // extern "C"
