'use strict';
/** The name of the published binary for a process. Linux has two C libraries, whose binaries don't mix. */
module.exports = function targetOf({ platform, arch }) {
  if (platform !== 'linux') return `${platform}-${arch}`;
  return `linux-${arch}-${require('detect-libc').familySync() === 'musl' ? 'musl' : 'gnu'}`;
};
