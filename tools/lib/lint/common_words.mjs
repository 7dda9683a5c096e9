// English words that are common in titles and hold other words: what an alias that is found inside words is tried with.
// Alphabetical, so that a word is easily found; longer words serve better than short ones.

export const COMMON_WORDS = Object.freeze(`
about above accident action actress address adventure after again airport album almost alone amazing american ancient animal
another apartment apple april architecture around arrival artist asian assembly attack august aunt autumn average awesome baby
background backpack bakery balcony ballet balloon banana barbecue bargain baseball basement basket basketball bathroom battle
beach bear beast beautiful because bedroom before beginner behind believe best bicycle birthday blanket blossom board boat
bottle bouquet bowling boyfriend bracelet branch brand bread breakfast breathe bride bridge bright broadcast broken brother
brunch brush budget building burger business butter butterfly cabin calendar camera campaign campus candle candy capital
captain carnival carpet cartoon carving cascade castle caterpillar cathedral celebration center ceremony challenge champion
changing channel chapter character charity charming chart chase cheap check cheese cherry chicken children chill chocolate
christmas church cinema circus city classic classroom cleaning clever climbing clothes cloud coast cocktail coffee collection
college color comedy comfort coming community company complete computer concert conference contest contract control cooking
corner costume cottage counter country couple court cousin cover cozy craft crazy cream creative cross crowd cruise culture
curtain custom cute daily dance dancing danger daughter december decorating delicious delivery department desert design dessert
detail diamond diary different dinner discover display distance district doctor documentary dolphin dragon drama drawing dream
dressing drinking driving drone during early earth easter easy eating edition education election electric elephant emotion
english enjoying entertainment entrance episode escape evening event everyday everything example exciting exercise exhibition
experience explore express extreme factory family famous fantastic fantasy farewell farmer fashion father favorite february
festival fiction fighting final finger firework fishing fitness flower flying football forest forever forgotten fountain freedom
french fresh friday friend front frozen fruit funny furniture future galaxy gallery game garage garden gathering generation
gentle german getting giant girlfriend glacier glass golden goodbye gorgeous graduation grand grandma grandpa grass great green
greeting grocery ground group growing guest guide guitar habit haircut halloween hamburger happening happy harbor harvest heart
heaven helicopter hello heritage hidden highlight highway hiking history hockey holiday homemade honest honey horizon horse
hospital hotel house hundred husband iceland illustration imagine important incredible independence indian indoor inside
instagram instrument interesting international interview island italian itinerary jacket january japanese jewelry journal journey
juice july jungle junior karaoke kitchen kitten knight landing landscape language large lantern laptop laugh launch laundry
learning leather lecture legend lemon lesson letter library lifestyle light limited listen little living lobster lonely lookbook
lottery lovely lucky lunch luxury machine magazine magic making mango marathon march market marriage master match material
maternity mattress meeting memory merry message midnight military million miniature minute miracle mirror mobile modern moment
monday monkey monster month moonlight morning mother motorcycle mountain movie museum music mystery national natural nature
neighbor network nightlife noodle normal northern notebook nothing november number nursery ocean october office official old
online opening opera orange orchestra original outdoor outfit outside painting palace pancake panda paradise parents parking
party passenger passport pasta pattern peaceful penguin people perfect performance person personal photo photograph piano picnic
picture pilates pilgrimage pineapple planet planning plant plastic playground playing podcast poetry police popular portrait
postcard potato pottery practice pregnant premiere preparing present pretty prince princess private problem process production
professional program project promise proposal protest puppy purple puzzle quality quarter queen question quick quiet rabbit
racing radio railway rainbow reaction reading really recipe record recovery relationship relaxing remember restaurant retreat
return review ride river roasting robot rocket romantic rooftop routine royal running running russian saturday scared scary
schedule scholar school science screen season secret selfie senior september serious service session seven shadow shark sharing
shelter shining shopping short shoulder shower sibling silent silver simple singing sister skating sketch skiing sleeping slow
small smart smile snack snorkeling snowboard snowman soccer social soldier someone something sound south souvenir space spanish
sparkle special speech spending spicy spider spirit sport spring square stadium staircase starting station statue steak stone
storage store storm story strange strawberry stream street stretching strong student studio style subway success suddenly summer
sunday sunflower sunrise sunset supermarket support surfing surprise sushi sweater sweet swimming switch table talent tattoo
teacher teaching team technology temple tennis terrace test theater thing thousand thunder thursday ticket tiger tiny toast
today together tomorrow tonight tourist tower traditional traffic training transport travel treasure treatment trending tropical
trousers truck tuesday tunnel turtle tutorial twilight umbrella uncle underwater unicorn university unusual upgrade vacation
valentine valley vegetable vehicle vibrant victory video village vintage violin visiting vocabulary volcano volleyball volunteer
waiting walking warm warrior washing watching water waterfall weather wedding wednesday weekend welcome western whale whisper
white wildlife window windy winter wisdom wonderful wooden workout workshop world writing yesterday young youth zebra
`.trim().split(/\s+/));
