(function () {
  "use strict";
  var box = document.getElementById("search");
  var rows = Array.prototype.slice.call(document.querySelectorAll("details.p"));
  if (!box || rows.length === 0) return;
  var texts = null;
  var input = box.querySelector("input");
  var count = box.querySelector("span");
  box.hidden = false;
  function search() {
    var words = input.value.toLowerCase().split(/\s+/).filter(Boolean);
    texts = texts || rows.map(function (row) { return row.textContent.toLowerCase(); });
    var shown = 0;
    rows.forEach(function (row, i) {
      var found = words.every(function (word) { return texts[i].indexOf(word) >= 0; });
      row.hidden = !found;
      shown += found ? 1 : 0;
    });
    count.textContent = words.length === 0 ? "" : shown + " of " + rows.length;
  }
  input.addEventListener("input", search);
  // A link may carry a search: report.html#search=youtube
  if (location.hash.indexOf("#search=") === 0) {
    input.value = decodeURIComponent(location.hash.slice(8));
    search();
  }
})();
