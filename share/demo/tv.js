// What the demo pages share: the bar with the pages, and the host's clock in it.
(function () {
  var pages = [['Portal', 'portal'], ['Guide', 'guide'], ['Form', 'form'], ['Video', 'video'],
               ['Settings', 'settings']];
  var here = location.pathname.replace(/.*\/|\.html$/g, '');
  document.querySelector('header').innerHTML = '<b>Larka<i>.</i></b><nav>' + pages.map(function (page) {
    return '<a id="go-' + page[1] + '" href="' + page[1] + '.html"' + (page[1] == here ? ' class="on"' : '') +
        '>' + page[0] + '</a>';
  }).join('') + '</nav><span class="clock"></span>';

  // The host knows the time of its country. In a browser without that host the page knows it, too.
  function showTime() {
    var own = new Date().toTimeString().slice(0, 5);
    document.querySelector('header .clock').textContent = window.larka ? larka.exec2('clock') : own;
  }
  showTime();
  setInterval(showTime, 5000);
})();
