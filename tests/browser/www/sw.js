// A service worker that only installs: no fetch handler, so it never stands
// between the pages and the network or the HTTP cache.
self.addEventListener('install', () => self.skipWaiting());
