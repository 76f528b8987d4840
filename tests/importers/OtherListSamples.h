#pragma once

// Lists of other cataloguers, written by hand from the formats' descriptions: odd names
// (quotes, commas, non-ASCII, character references), a size over 4 GB and a missing date
// in each.
namespace OtherListSamples {

inline constexpr const char* kCatcli = R"({
  "name": "top",
  "type": "top",
  "children": [
    {
      "name": "Backup \"2019\", Ünï",
      "type": "storage",
      "ts": 1548529187,
      "free": 3700000000, "total": 4000000000, "attr": "the blue disk",
      "children": [
        {"name": "a, b", "type": "dir", "size": 5000031200, "maccess": 1548528000.5,
         "children": [
          {"name": "big \"one\".iso", "type": "file", "size": 5000000000, "md5": null,
           "maccess": 1548528000.25, "children": []},
          {"name": "v0.3.1.zip", "type": "file", "size": 31200, "maccess": 1548528000,
           "children": [{"name": "inside.txt", "type": "arc", "size": 10,
                         "archive": "v0.3.1.zip", "children": []}]}
        ]},
        {"name": "日本語.txt", "type": "file", "size": 24, "children": []}
      ]
    },
    {"name": "second", "type": "storage", "children": []},
    {"name": "meta", "type": "meta", "attr": {"created": "2019-01-26"}}
  ]
}
)";

// The newer layout: base 36, parent ids, two roots.
inline constexpr const char* kSnap2Html = R"(<!DOCTYPE html>
<html><head><meta charset="utf-8"><title>Snap2HTML</title></head><body>
<script>
var D = {}; D.p = function(a) { dirs.push(a); };
D.p(["Disc &amp; Co*J1X*SOY9R9",-1,"1*2*4","Root file.txt*3GO*SOY9O7",{"title":"Holiday \"2024\"","timestamp":1766493031,"totBytes":24693}])
D.p(["Fotos, Ünï*X0*SOY9MI",0,"3","Tom&#39;s &quot;best&quot; &#x263A;.jpg*2aovcow*SOY9NT"])
D.p(["Empty*0*",0,""])
D.p(['Sub*10*SOY9MX',1,"",'no \'date\'.txt*a*'])
D.p(["Locked*-1*SOY9R9",0,""])
D.p(["Other*0*SOY9R9",-1,"1",{"title":"","timestamp":0}])
D.p(["Inner*0*SOY9R9",0,""])
</script></body></html>
)";

// The older layout: full paths, base 10, total size and subfolder ids last.
inline constexpr const char* kSnap2HtmlV1 = R"(<html><body><script>
D.p(["C:/Users/Ann/Music*0*1403190240","song, \"live\".mp3*5000000000*1403190240",5000000000,"1"])
D.p(["C:/Users/Ann/Music/Jazz &amp; Blues*0*1403190000","a'b.flac*100*",100,""])
</script></body></html>
)";

inline constexpr const char* kVvv =
    "Volume\tPath\tFile Name\tExt\tSize\tDate\tDescription\n"
    "Backup 1\t\t\t\t\t\t\n"
    "Backup 1\t/Photos, 2019\t\t\t\t2019-05-31 18:04:05\t\n"
    "Backup 1\t/Photos, 2019\t\"Ann \"\"the cat\"\"\"\tjpg\t5000000000\t2019-05-31 "
    "18:04:05\tfavourite\n"
    "Backup 1\t\\Docs\\Über\tnotes.txt\ttxt\t12\t\t\n"
    "Backup 2\t/\treadme\t\t0\t31/05/2024 18:04\t\n";

inline constexpr const char* kCdcat = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE HyperCDCatalogFile>
<catalog name="My discs" owner="ann" time="2005-01-02 10:00:00">
 <datafile/>
 <media name="Disc &quot;1&quot;, Ünï" number="1" owner="" type="CD" time="2005-01-02 10:11:12">
  <comment>the first</comment>
  <directory name="Fotos &amp; Films" time="2004-12-31 23:59:58">
   <comment>holiday</comment>
   <file name="big, &apos;one&apos;.iso" size="4.66" unit="Gb" time="2004-12-30 08:00:00"/>
   <file name="exact.bin" size="5000000000" unit="byte" time="2004-12-30T08:00:01">
    <mp3tag artist="x" title="y"/>
    <comment>exact bytes</comment>
   </file>
  </directory>
  <file name="nodate.txt" size="1,5 Kb"/>
 </media>
 <media name="Second" number="2" time="">
 </media>
</catalog>
)";

} // namespace OtherListSamples
