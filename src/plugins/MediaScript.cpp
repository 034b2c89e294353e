// SPDX-License-Identifier: MIT
#include "plugins/MediaScript.h"

namespace LARKA {

// The numbers of actions and states are those of larka/extras.h.
const char kMediaScript[] = R"js(
(function(host) {
  'use strict';
  var FOUND = 0, OPEN = 1, PLAY = 2, PAUSE = 3, SEEK = 4, VOLUME = 5, RATE = 6, CLOSE = 7;
  var LOADING = 0, PAUSED = 1, PLAYING = 2, WAITING = 3, ENDED = 4, FAILED = 5;
  var MOST_LOOSE = 16, OBSERVED = ['src', 'width', 'height', 'style'];
  var states = new WeakMap(), shown = [], define = Object.defineProperty, later = setTimeout;
  var unknown = HTMLUnknownElement.prototype, Resolving = Promise;

  function isMedia(element) { return isUnknown(element, /^(video|audio)$/); }
  function isVideo(element) { return isUnknown(element, /^video$/); }
  function isPart(element) { return isUnknown(element, /^(source|track)$/); }
  function isUnknown(element, names) {
    return unknown.isPrototypeOf(element) && names.test(element.localName);
  }

  function stateOf(element) {
    var state = states.get(element);
    if (!state) {
      state = {shown: false, placed: false, address: '', paused: true, ended: false,
               seeking: false, error: null, status: LOADING, time: 0, duration: NaN,
               volume: 1, muted: element.hasAttribute('muted'), rate: 1, defaultRate: 1,
               ready: 0, network: 0, width: 0, height: 0, promises: []};
      states.set(element, state);
    }
    return state;
  }

  function fire(element, types) {
    later(function() {
      types.split(' ').forEach(function(type) {
        var event = document.createEvent('Event');
        event.initEvent(type, false, false);
        element.dispatchEvent(event);
      });
    }, 0);
  }

  function settle(state, error) {
    state.promises.splice(0).forEach(function(each) { error ? each[1](error) : each[0](); });
  }

  function refusal(name) {
    var error = new Error('The host does not play this');
    error.name = name;
    return error;
  }

  function isInPage(element) {
    var root = element.ownerDocument.documentElement;
    return !!root && root.contains(element);
  }

  // What the host knows.

  function tell(element, action, value) {
    if (stateOf(element).shown) host.tell(element, action, value || 0);
  }

  function loudness(state) { return state.muted ? 0 : state.volume; }

  function show(element) {
    var state = stateOf(element);
    if (state.shown) return;
    state.shown = true;
    state.placed = isInPage(element);
    shown.push(element);
    watch.observe(element, {attributes: true, attributeFilter: OBSERVED});
    layOut(element);
    state.address = host.address(element);
    if (state.address && !state.network) begin(element, state);
    tell(element, FOUND);
    if (loudness(state) != 1) tell(element, VOLUME, loudness(state));
    if (state.rate != 1) tell(element, RATE, state.rate);
    if (state.time > 0) tell(element, SEEK, state.time);
    if (!state.paused) tell(element, PLAY);
    else startByItself(element, state);
  }

  function hide(element) {
    var state = stateOf(element);
    pause(element, state);
    tell(element, CLOSE);
    state.shown = false;
    shown.splice(shown.indexOf(element), 1);
  }

  // Outside the document only what plays has a player.
  function showLoose(element) {
    var loose = shown.filter(function(each) { return !isInPage(each); });
    if (loose.length >= MOST_LOOSE) hide(loose[0]);
    show(element);
  }

  function look() {
    var found = document.querySelectorAll('video,audio');
    for (var i = 0; i < found.length; ++i)
      if (isMedia(found[i])) show(found[i]);
  }

  function lookAgain(records) {
    var removed = false;
    records.forEach(function(record) {
      if (record.removedNodes && record.removedNodes.length) removed = true;
      if (isMedia(record.target)) change(record.target);
    });
    if (removed) {
      shown.slice().forEach(function(element) {
        if (!isInPage(element) && stateOf(element).placed) hide(element);
      });
      host.look();
    }
    look();
    shown.forEach(function(element) { stateOf(element).placed = isInPage(element); });
  }

  var watch = new MutationObserver(lookAgain);

  // Loading.

  function begin(element, state) {
    state.network = 2;
    fire(element, 'loadstart');
  }

  function open(element) {
    var state = stateOf(element), known = state.network;
    state.address = host.address(element);
    state.ready = state.network = state.time = state.width = state.height = 0;
    state.status = LOADING;
    state.duration = NaN;
    state.ended = state.seeking = false;
    state.error = null;
    if (known) {
      if (!state.paused) settle(state, refusal('AbortError'));
      state.paused = true;
      fire(element, 'emptied');
    }
    layOut(element);
    if (state.address) begin(element, state);
    tell(element, OPEN);
    startByItself(element, state);
  }

  function change(element) {
    layOut(element);
    if (host.address(element) != stateOf(element).address) open(element);
  }

  function startByItself(element, state) {
    if (state.address && state.paused && element.hasAttribute('autoplay')) play(element, state);
  }

  // Playing.

  function play(element, state) {
    if (!state.shown) isInPage(element) ? show(element) : showLoose(element);
    if (state.ended) seek(element, state, 0);
    if (!state.paused) return;
    state.paused = false;
    fire(element, 'play');
    tell(element, PLAY);
  }

  function pause(element, state) {
    settle(state, refusal('AbortError'));
    if (state.paused) return;
    state.paused = true;
    fire(element, 'timeupdate pause');
    tell(element, PAUSE);
  }

  function seek(element, state, time) {
    state.time = Math.max(0, +time || 0);
    state.ended = false;
    state.seeking = state.ready > 0;
    if (state.seeking) fire(element, 'seeking');
    tell(element, SEEK, state.time);
  }

  function setVolume(element, state, volume, muted) {
    state.volume = volume;
    state.muted = muted;
    fire(element, 'volumechange');
    tell(element, VOLUME, loudness(state));
  }

  // What the host reports.

  function report(element, status, time, duration, width, height) {
    var state = stateOf(element), before = state.status, events = [];
    if (status == FAILED) return fail(element, state);
    state.status = status;
    if (width != state.width || height != state.height) {
      state.width = width;
      state.height = height;
      layOut(element);
      events.push('resize');
    }
    if (duration !== state.duration && !(isNaN(duration) && isNaN(state.duration))) {
      state.duration = duration;
      events.push('durationchange');
    }
    if (status != LOADING && !state.ready) {
      state.ready = 4;
      state.network = 1;
      events.push('loadedmetadata', 'loadeddata', 'canplay', 'canplaythrough');
    }
    if (time != state.time || state.seeking) events.push('timeupdate');
    state.time = time;
    if (state.seeking && status != LOADING) {
      state.seeking = false;
      events.push('seeked');
    }
    follow(element, state, before, events);
    if (events.length) fire(element, events.join(' '));
  }

  function follow(element, state, before, events) {
    var status = state.status;
    if (status == PLAYING || status == WAITING) {
      if (state.paused) events.push('play');
      state.paused = state.ended = false;
      if (status != before) events.push(status == PLAYING ? 'playing' : 'waiting');
      if (status == PLAYING) settle(state);
    } else if (status == PAUSED && !state.paused) {
      state.paused = true;
      settle(state, refusal('AbortError'));
      events.push('pause');
    } else if (status == ENDED && !state.ended) {
      end(element, state, events);
    }
  }

  function end(element, state, events) {
    if (element.hasAttribute('loop')) {
      seek(element, state, 0);
      return tell(element, PLAY);
    }
    state.ended = true;
    if (!state.paused) events.push('pause');
    state.paused = true;
    events.push('ended');
    if (!isInPage(element)) hide(element);
  }

  function fail(element, state) {
    if (state.error) return;
    state.error = {code: 4, MEDIA_ERR_ABORTED: 1, MEDIA_ERR_NETWORK: 2, MEDIA_ERR_DECODE: 3,
                   MEDIA_ERR_SRC_NOT_SUPPORTED: 4};
    state.network = 3;
    settle(state, refusal('NotSupportedError'));
    fire(element, 'error');
    if (!isInPage(element)) hide(element);
  }

  // The place of a video.

  function setRule(element, name, value) {
    name = '--larka-' + name;
    if (element.style.getPropertyValue(name).trim() == value) return;
    value ? element.style.setProperty(name, value) : element.style.removeProperty(name);
  }

  function lengthOf(element, name) {
    var parts = /^\s*(\d+\.?\d*)\s*(%?)/.exec(element.getAttribute(name) || '');
    return parts ? parts[1] + (parts[2] || 'px') : '';
  }

  function layOut(element) {
    if (!isVideo(element)) return;
    var state = stateOf(element), width = lengthOf(element, 'width');
    var height = lengthOf(element, 'height'), ratio = state.width ? state.height / state.width : 0;
    if (!width && state.width)
      width = (/px$/.test(height) ? parseFloat(height) / ratio : state.width) + 'px';
    setRule(element, 'width', width);
    setRule(element, 'height', height);
    setRule(element, 'ratio', ratio ? ratio * 100 + '%' : '');
  }

  // The interface of the elements.

  function set(object, name, value) {
    define(object, name, {value: value, writable: true, configurable: true, enumerable: true});
  }

  // Of other elements that QtWebKit doesn't know, it is not there.
  function add(prototypes, fits, name, get, put) {
    var property = {
      get: function() { return fits(this) ? get(this, stateOf(this)) : undefined; },
      set: function(value) {
        if (!fits(this))
          set(this, name, value);
        else if (put)
          put(this, stateOf(this), value);
      },
      configurable: true, enumerable: true
    };
    prototypes.forEach(function(each) { define(each, name, property); });
  }

  var media = [unknown, HTMLMediaElement.prototype], video = [unknown, HTMLVideoElement.prototype];

  function addText(prototypes, fits, name) {
    add(prototypes, fits, name,
        function(element) { return element.getAttribute(name) || ''; },
        function(element, state, value) { element.setAttribute(name, value); });
  }

  function addAddress(prototypes, fits, name) {
    add(prototypes, fits, name,
        function(element) {
          if (!element.hasAttribute(name)) return '';
          var link = document.createElement('a');
          link.href = element.getAttribute(name);
          return link.href;
        },
        function(element, state, value) {
          element.setAttribute(name, value);
          if (isMedia(element) && name == 'src') open(element);
        });
  }

  function addSwitch(name, attribute) {
    add(media, isMedia, name,
        function(element) { return element.hasAttribute(attribute); },
        function(element, state, on) {
          on ? element.setAttribute(attribute, '') : element.removeAttribute(attribute);
        });
  }

  function addState(names, get, put) {
    names.split(' ').forEach(function(name) {
      add(media, isMedia, name, function(element, state) { return get(state, name); }, put);
    });
  }

  // A page that replaces a method of the class means its elements.
  function addMethods(prototype, fits, methods) {
    Object.keys(methods).forEach(function(name) {
      set(prototype, name, methods[name]);
      add([unknown], fits, name, function() { return prototype[name]; },
          function(element, state, value) { set(element, name, value); });
    });
  }

  function ranges(end) {
    var count = end > 0 ? 1 : 0;
    function at(index, value) {
      if (index >= count) throw new RangeError('There is no such range');
      return value;
    }
    return {length: count, start: function(i) { return at(i, 0); },
            end: function(i) { return at(i, end); }};
  }

  function noTracks() {
    var tracks = [], nothing = function() {};
    tracks.addEventListener = tracks.removeEventListener = nothing;
    return tracks;
  }

  function finite(value) {
    if (!isFinite(value)) throw new TypeError('The value is not a finite number');
    return +value;
  }

  ['preload', 'mediaGroup', 'crossOrigin'].forEach(addText.bind(null, media, isMedia));
  addAddress(media, isMedia, 'src');
  addAddress(video, isVideo, 'poster');
  addSwitch('autoplay', 'autoplay');
  addSwitch('loop', 'loop');
  addSwitch('controls', 'controls');
  addSwitch('defaultMuted', 'muted');
  addState('paused ended seeking error duration', function(state, name) { return state[name]; });
  addState('readyState', function(state) { return state.ready; });
  addState('networkState', function(state) { return state.network; });
  addState('currentSrc', function(state) { return state.address; });
  addState('buffered seekable', function(state) { return ranges(state.duration); });
  addState('played', function(state) { return ranges(state.time); });
  addState('textTracks audioTracks videoTracks', function(state, name) {
    return state[name] = state[name] || noTracks();
  });
  addState('currentTime', function(state) { return state.time; }, function(element, state, time) {
    seek(element, state, finite(time));
  });
  addState('volume', function(state) { return state.volume; }, function(element, state, volume) {
    if (!(volume >= 0 && volume <= 1)) throw new RangeError('The volume is not from 0 to 1');
    setVolume(element, state, +volume, state.muted);
  });
  addState('muted', function(state) { return state.muted; }, function(element, state, muted) {
    setVolume(element, state, state.volume, !!muted);
  });
  addState('playbackRate', function(state) { return state.rate; }, function(element, state, rate) {
    state.rate = finite(rate);
    fire(element, 'ratechange');
    tell(element, RATE, state.rate);
  });
  addState('defaultPlaybackRate', function(state) { return state.defaultRate; },
           function(element, state, rate) { state.defaultRate = finite(rate); });
  ['width', 'height'].forEach(function(name) {
    var natural = 'video' + (name == 'width' ? 'Width' : 'Height');
    add(video, isVideo, name,
        function(element) { return parseInt(element.getAttribute(name), 10) || 0; },
        function(element, state, value) { element.setAttribute(name, value); layOut(element); });
    add(video, isVideo, natural, function(element, state) { return state[name]; });
  });

  ['type', 'media', 'kind', 'label', 'srclang'].forEach(addText.bind(null, [unknown], isPart));
  (function() {
    var ofMedia = Object.getOwnPropertyDescriptor(unknown, 'src');
    addAddress([unknown], isPart, 'src');
    var ofPart = Object.getOwnPropertyDescriptor(unknown, 'src');
    define(unknown, 'src', {
      get: function() { return (isMedia(this) ? ofMedia : ofPart).get.call(this); },
      set: function(value) { (isMedia(this) ? ofMedia : ofPart).set.call(this, value); },
      configurable: true, enumerable: true
    });
  })();

  addMethods(HTMLMediaElement.prototype, isMedia, {
    play: function() {
      var element = this, state = stateOf(element);
      change(element);
      var started = new Resolving(function(resolve, reject) {
        play(element, state);
        state.status == PLAYING ? resolve() : state.promises.push([resolve, reject]);
      });
      started.catch(function() {});
      return started;
    },
    pause: function() { change(this); pause(this, stateOf(this)); },
    load: function() { open(this); },
    fastSeek: function(time) { this.currentTime = time; },
    canPlayType: function(type) { return host.plays('' + type) ? 'maybe' : ''; },
    addTextTrack: function() { return {mode: 'disabled', cues: [], addCue: function() {}}; },
    getVideoPlaybackQuality: function() { return {totalVideoFrames: 0, droppedVideoFrames: 0}; }
  });
  function enterFullScreen() { this.webkitRequestFullscreen(); }
  function leaveFullScreen() { document.webkitExitFullscreen(); }
  addMethods(HTMLVideoElement.prototype, isVideo, {
    webkitEnterFullscreen: enterFullScreen, webkitEnterFullScreen: enterFullScreen,
    webkitExitFullscreen: leaveFullScreen, webkitExitFullScreen: leaveFullScreen
  });
  Object.keys(HTMLMediaElement).forEach(function(name) {
    if (/^(NETWORK|HAVE)_/.test(name))
      add([unknown], isMedia, name, function() { return HTMLMediaElement[name]; });
  });
  define(unknown, 'larkaReport', {value: function(status, time, duration, width, height) {
    if (isMedia(this)) report(this, status, time, duration, width, height);
  }});

  // A film without a picture draws nothing, and throws nothing.
  var canvas = CanvasRenderingContext2D.prototype, draw = canvas.drawImage;
  set(canvas, 'drawImage', function(image) { if (!isMedia(image)) draw.apply(this, arguments); });

  // The classes. QtWebKit's own Audio would load and play.

  function claim(constructor, fits) {
    define(constructor, Symbol.hasInstance,
           {value: fits});
  }
  claim(HTMLMediaElement, isMedia);
  claim(HTMLVideoElement, isVideo);
  if (!window.HTMLAudioElement) {  // QtWebKit found no GStreamer
    define(window, 'HTMLAudioElement', {value: function() {}, writable: true, configurable: true});
    HTMLAudioElement.prototype = Object.create(HTMLMediaElement.prototype);
  }
  claim(HTMLAudioElement, function(object) { return isMedia(object) && !isVideo(object); });

  var NewAudio = function Audio(address) {
    var element = document.createElement('audio');
    element.setAttribute('preload', 'auto');
    if (address !== undefined) element.src = address;
    return element;
  };
  NewAudio.prototype = HTMLAudioElement.prototype;
  define(window, 'Audio', {get: function() { return NewAudio; },
                           set: function(value) { NewAudio = value; }});

  // Pages that history brings back have their elements still.

  addEventListener('pagehide', function() {
    shown.splice(0).forEach(function(element) { stateOf(element).shown = false; });
  }, true);
  addEventListener('pageshow', look, true);
  document.addEventListener('DOMContentLoaded', function() { lookAgain([]); }, true);
  watch.observe(document, {childList: true, subtree: true});
})
)js";

// The composition of the background is what makes the place transparent: QtWebKit clears it in the
// order in which it paints, so that what the page has above it, its border and rounded corners
// stay. The padding of :before gives the height that goes with the width. What is written into the
// element is for browsers that know no video.
const char kMediaRules[] =
    "video{display:inline-block;width:var(--larka-width,300px);height:var(--larka-height,auto);"
    "background:linear-gradient(#000,#000)!important;-webkit-background-composite:clear!important}"
    "video:before{content:''!important;display:block!important;"
    "padding:var(--larka-ratio,50%) 0 0!important}"
    "audio:not([controls]){display:none!important}"
    "audio{display:inline-block;width:200px;height:25px}"
    "video,audio{overflow:hidden!important;line-height:0!important;text-shadow:none!important;"
    "-webkit-text-fill-color:transparent!important}"
    "video>*,audio>*{display:none!important}";

}  // namespace LARKA
